// Registration of the module's tables with the agent library, and the module's enrolment with the host.
#include "ptpbaseMIB/ptpbaseMIB.h"

#include <cstdlib>
#include <iostream>
#include <list>
#include <map>
#include <source_location>

#include "PtpSnmp/PtpMib.h"
#include "Snmp/HandlerRegistration.h"
#include "Snmp/RegVoidCollByContext.h"
#include "Snmp/SnmpUtil.h"
#include "ptpbaseMIB/SnmpTrace.h"
#include "ptpbaseMIB/TableRegistration.h"

namespace {

using PtpSnmp::Mib::errorLevel;
using PtpSnmp::Mib::initializedLevel;
using PtpSnmp::Mib::registrationLevel;
using PtpSnmp::Mib::requestLevel;
using PtpSnmp::Mib::snmpTrace;

constexpr char moduleName[] = "ptpbaseMIB";
constexpr char ptpMibPath[] = "snmp/ptp/ptpmib";

// What was registered in each context, in order. The library frees the registrations; the column records are
// ours. Constructed before, and destroyed after, the registration object below.
std::map<Kestor::String, std::list<netsnmp_handler_registration*>> registrations;
std::map<Kestor::String, std::list<netsnmp_column_info*>> columnInfos;

// An assertion that a release build keeps: serving with a half-made table is worse than not starting.
void require(bool holds, const char* expression, const std::source_location& where = std::source_location::current()) {
  if (holds) return;
  std::cerr << where.file_name() << ':' << where.line() << ": " << where.function_name() << ": Assertion `"
            << expression << "' failed." << std::endl;
  std::abort();
}

template <class T>
T* allocateZeroed() {
  auto* const record = static_cast<T*>(std::calloc(1, sizeof(T)));  // the library frees it with free()
  require(record != nullptr, "record");
  return record;
}

Kestor::String oidText(std::span<const oid> id) {
  char text[200];
  snprint_objid(text, sizeof text, id.data(), id.size());
  return text;
}

Snmp::RegVoidCollByContext& regVoidColl() {
  Zarn::Entity* coll = Zarn::Entity::singletonExists(Snmp::RegVoidCollByContext::typeName);
  if (coll == nullptr) {
    coll = Zarn::Entity::singletonIs(Snmp::RegVoidCollByContext::typeName, Snmp::RegVoidCollByContext::factory);
  }
  return static_cast<Snmp::RegVoidCollByContext&>(*coll);
}

PtpSnmp::PtpMib* resolvePtpMib(const char* table) {
  Zarn::Entity* const e = SnmpUtil::getEntityRelative(ptpMibPath);
  if (e == nullptr) {
    std::cerr << "Can not getEntityRelative( " << ptpMibPath << " ) for table " << table << ". Is this path correct?"
              << std::endl;
  }
  require(e != nullptr, "e");
  auto* const ptr = dynamic_cast<PtpSnmp::PtpMib*>(e);
  if (ptr == nullptr) {
    std::cerr << ptpMibPath << " does not appear to be of type PtpSnmp::PtpMib." << std::endl;
  }
  require(ptr != nullptr, "ptr");
  return ptr;
}

netsnmp_column_info* newColumnInfo(const PtpSnmp::Mib::TableDescription& table) {
  auto* const info = allocateZeroed<netsnmp_column_info>();
  info->isRange = 0;
  info->list_count = static_cast<char>(table.columns.size());
  info->details.list = const_cast<unsigned int*>(table.columns.data());  // read only by the library
  return info;
}

netsnmp_table_registration_info* newTableInfo(const PtpSnmp::Mib::TableDescription& table, netsnmp_column_info* columns,
                                              const Kestor::String& context) {
  auto* const info = allocateZeroed<netsnmp_table_registration_info>();
  for (const PtpSnmp::Mib::IndexComponent& index : table.indexes) {
    if (snmp_varlist_add_variable(&info->indexes, nullptr, 0, index.asnType, nullptr, 0) == nullptr) {
      snmpTrace().trace(errorLevel, "Failed to set up ", index.name, " in netsnmp table_info in context \"", context,
                        "\"");
    }
  }
  info->min_column = table.columns.front();
  info->max_column = table.columns.back();
  info->valid_columns = columns;
  return info;
}

netsnmp_iterator_info* newIteratorInfo(const PtpSnmp::Mib::TableDescription& table,
                                       netsnmp_table_registration_info* tableInfo, void* record) {
  auto* const info = allocateZeroed<netsnmp_iterator_info>();
  info->get_first_data_point = table.getFirstDataPoint;
  info->get_next_data_point = table.getNextDataPoint;
  info->make_data_context = table.makeDataContext;
  info->free_data_context = table.freeDataContext;
  info->free_loop_context_at_end = table.freeLoopContextAtEnd;
  info->myvoid = record;
  info->flags = NETSNMP_ITERATOR_FLAG_SORTED | NETSNMP_HANDLER_OWNS_IINFO;
  info->table_reginfo = tableInfo;
  return info;
}

// Tells of the initialisation as net-snmp's own token-trace macros do.
void debugInitializing(const Kestor::String& context,
                       const std::source_location& where = std::source_location::current()) {
  if (!snmp_get_do_debugging()) return;
  const int line = static_cast<int>(where.line());
  debugmsgtoken("trace", "%s(): %s, %d:\n", "init_ptpbaseMIB", where.file_name(), line);
  debugmsg("trace", "%s(): %s, %d:\n", "init_ptpbaseMIB", where.file_name(), line);
  debugmsgtoken(moduleName, "Initializing in context \"%s\"\n", context.c_str());
  debugmsg(moduleName, "Initializing in context \"%s\"\n", context.c_str());
}

}  // namespace

void PtpSnmp::Mib::registerTable(const TableDescription& table, const Kestor::String& context) {
  if (snmpTrace().on(registrationLevel)) {
    snmpTrace().trace(registrationLevel, "initialize_table_", table.name, " initializing oid ", oidText(table.rootOid),
                      " in context \"", context, "\"");
  }
  const Kestor::String handlerName = Kestor::String(table.name) + "_" + context;
  netsnmp_handler_registration* const registration = netsnmp_create_handler_registration(
      handlerName.c_str(), table.handler, table.rootOid.data(), table.rootOid.size(), HANDLER_CAN_GETANDGETNEXT);
  require(registration != nullptr, "registration");
  if (!context.empty()) {
    netsnmp_handler_registration_free(registration);
    snmpTrace().trace(requestLevel, "initialize_table_", table.name, " in context \"", context,
                      "\" vornPathWithContext not specified ");
    return;
  }
  registrations[context].push_back(registration);

  PtpMib* const ptpMib = resolvePtpMib(table.name);
  const Kestor::Ptr<Snmp::RegVoid> record = regVoidColl().addRegVoid(context, table.name, ptpMib);
  registration->my_reg_void = record.get();

  netsnmp_column_info* const columnInfo = newColumnInfo(table);
  netsnmp_table_registration_info* const tableInfo = newTableInfo(table, columnInfo, context);
  netsnmp_iterator_info* const iteratorInfo = newIteratorInfo(table, tableInfo, registration->my_reg_void);
  columnInfos[context].push_back(columnInfo);

  const int result = netsnmp_register_table_iterator(registration, iteratorInfo);
  require(result == MIB_REGISTERED_OK, "result == MIB_REGISTERED_OK");
  const int injected = netsnmp_inject_handler(registration, netsnmp_get_serialize_handler());
  require(injected == SNMPERR_SUCCESS, "injected == SNMPERR_SUCCESS");
  snmpTrace().trace(initializedLevel, "Initialized table ", table.name, " in context \"", context, "\"");
}

void init_ptpbaseMIB(Kestor::String context) {
  const Kestor::Ptr<const Snmp::Config> config = SnmpUtil::getSnmpConfig();
  debugInitializing(context);
  initialize_table_ptpbaseSystemTable(config, context);
  initialize_table_ptpbaseSystemDomainTable(config, context);
  initialize_table_ptpbaseClockCurrentDSTable(config, context);
  initialize_table_ptpbaseClockParentDSTable(config, context);
  initialize_table_ptpbaseClockDefaultDSTable(config, context);
  initialize_table_ptpbaseClockRunningTable(config, context);
  initialize_table_ptpbaseClockTimePropertiesDSTable(config, context);
  initialize_table_ptpbaseClockTransDefaultDSTable(config, context);
  initialize_table_ptpbaseClockPortTable(config, context);
  initialize_table_ptpbaseClockPortDSTable(config, context);
  initialize_table_ptpbaseClockPortRunningTable(config, context);
  initialize_table_ptpbaseClockPortTransDSTable(config, context);
  Snmp::registerMibContext(context, moduleName);
}

void unregister_ptpbaseMIB(Kestor::String context) {
  snmpTrace().trace(requestLevel, "Unregistering ", moduleName, " in context \"", context, "\"");
  const std::list<netsnmp_handler_registration*> registered = registrations[context];
  Snmp::RegVoidCollByContext& records = regVoidColl();
  for (netsnmp_handler_registration* registration : registered) {
    const Kestor::String handlerName = registration->handlerName;
    records.delRegVoid(context, handlerName.substr(0, handlerName.find('_')));
    netsnmp_unregister_handler(registration);
  }
  registrations.erase(context);

  const std::list<netsnmp_column_info*> infos = columnInfos[context];
  for (netsnmp_column_info* info : infos) {
    while (info != nullptr) {
      netsnmp_column_info* const next = info->next;
      std::free(info);
      info = next;
    }
  }
  columnInfos.erase(context);
  Snmp::unregisterMibContext(context, moduleName);
}

namespace {

class ptpbaseMIB_HandlerRegistration final : public Snmp::HandlerRegistration {
 public:
  void initHandler(Kestor::String context) override { init_ptpbaseMIB(context); }
};

ptpbaseMIB_HandlerRegistration handlerRegistration;
Snmp::AutoRegistree autoRegistree(&handlerRegistration);

}  // namespace
