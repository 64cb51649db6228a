#pragma once

#include "NetSnmp.h"

#include <span>

#include "Kestor/String.h"

namespace PtpSnmp::Mib {

/// One index component of a table: the MIB's name for it, used in messages, and its ASN.1 type.
struct IndexComponent {
  const char* name;
  u_char asnType;
};

/// What the agent library is told of a table. Static data.
struct TableDescription {
  const char* name;
  std::span<const oid> rootOid;
  std::span<const IndexComponent> indexes;
  std::span<const unsigned int> columns;  ///< every number from the first to the last

  Netsnmp_Node_Handler* handler;
  Netsnmp_First_Data_Point* getFirstDataPoint;
  Netsnmp_Next_Data_Point* getNextDataPoint;
  Netsnmp_Make_Data_Context* makeDataContext;
  Netsnmp_Free_Data_Context* freeDataContext;
  Netsnmp_Free_Loop_Context* freeLoopContextAtEnd;
};

/// Registers one table in a context and keeps note of it for unregister_ptpbaseMIB. Only the default context
/// is served; another one is declined with a trace. A configuration error stops the process, in release
/// builds too, after a message on the standard error stream.
void registerTable(const TableDescription& table, const Kestor::String& context);

}  // namespace PtpSnmp::Mib
