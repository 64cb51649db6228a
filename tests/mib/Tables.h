#pragma once

#include "NetSnmp.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "Varbind.h"
#include "ptpbaseMIB/ptpbaseMIB.h"

namespace test {

struct Index {
  std::string name;  ///< the MIB's, as hints are reported
  u_char type;
  std::string component;  ///< the key's field, as written indexes are reported
};

/// What the MIB says of a table, written down apart from the code under test, and the table's functions.
struct Table {
  std::string name;
  Oid root;
  std::string keyType;
  std::vector<Index> indexes;
  unsigned firstColumn;
  unsigned lastColumn;
  std::vector<unsigned> served;

  InitializeTable* initialize;
  Netsnmp_Node_Handler* handler;
  Netsnmp_First_Data_Point* getFirst;
  Netsnmp_Next_Data_Point* getNext;
  IterationHelper* iterationHelper;
  Netsnmp_Make_Data_Context* makeDataContext;
  Netsnmp_Free_Data_Context* freeDataContext;
  Netsnmp_Free_Loop_Context* freeLoopContextAtEnd;
};
void PrintTo(const Table& table, std::ostream* os);

/// The twelve tables in the order of their registration.
const std::vector<Table>& tables();
const Table& table(std::string_view name);

/// A component of an index, and the key that an index stands for, as traces tell them.
std::string componentText(const Index& index, oid value);
std::string keyText(const Table& table, const Oid& index);

}  // namespace test
