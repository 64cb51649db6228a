// The floor: what net-snmp's sorted table iterator costs with next to nothing behind it. Three tables with the rows,
// the index and as many columns as the port tables of PTPBASE-MIB have, all columns integers, over one sorted array.
//
//     dlmod floor .../floor.so
//     floorTables 1000 9999
//
// registers them with 1,000 rows below 1.3.6.1.4.1.8072.9999.9999. A copy of the file is loaded as another floor. A
// context is a pointer to a row: nothing is allocated, counted or traced.
#include "NetSnmp.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

extern "C" void init_floor(void);

namespace {

constexpr std::array<u_char, 4> indexTypes{ASN_UNSIGNED, ASN_INTEGER, ASN_UNSIGNED, ASN_UNSIGNED};
constexpr unsigned firstColumn = 5;
constexpr unsigned mostColumns = 11;

struct Row {
  std::array<unsigned, indexTypes.size()> index;  // domain, clock type, instance, port number
  std::array<int, mostColumns> values;
};

std::vector<Row> rows;

const Row* end() { return rows.data() + rows.size(); }

// The row that the hint names, or else the first.
const Row* start(const netsnmp_table_request_info* hint) {
  if (hint == nullptr || hint->number_indexes != indexTypes.size()) return rows.data();
  decltype(Row::index) index{};
  const netsnmp_variable_list* component = hint->indexes;
  for (unsigned& each : index) {
    if (component == nullptr) return rows.data();
    each = static_cast<unsigned>(*component->val.integer);
    component = component->next_variable;
  }
  const auto less = [](const Row& row, const decltype(Row::index)& wanted) { return row.index < wanted; };
  const auto row = std::lower_bound(rows.begin(), rows.end(), index, less);
  return row != rows.end() && row->index == index ? &*row : rows.data();
}

netsnmp_variable_list* writeIndex(const Row* row, netsnmp_variable_list* indexes) {
  if (row == end()) return nullptr;
  netsnmp_variable_list* component = indexes;
  for (unsigned i = 0; i < indexTypes.size(); ++i) {
    snmp_set_var_typed_value(component, indexTypes[i], &row->index[i], sizeof row->index[i]);
    component = component->next_variable;
  }
  return indexes;
}

netsnmp_variable_list* getFirst(void** loop, void**, netsnmp_variable_list* indexes, netsnmp_iterator_info*) {
  const Row* const row = start(static_cast<const netsnmp_table_request_info*>(*loop));
  *loop = const_cast<Row*>(row);
  return writeIndex(row, indexes);
}

netsnmp_variable_list* getNext(void** loop, void**, netsnmp_variable_list* indexes, netsnmp_iterator_info*) {
  auto* const row = static_cast<Row*>(*loop) + 1;
  *loop = row;
  return writeIndex(row, indexes);
}

void* makeDataContext(void* loop, netsnmp_iterator_info*) { return loop; }

int handle(netsnmp_mib_handler*, netsnmp_handler_registration*, netsnmp_agent_request_info* info,
           netsnmp_request_info* requests) {
  if (info->mode != MODE_GET) return SNMP_ERR_NOERROR;
  for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
    if (request->processed != 0) continue;
    const auto* const row = static_cast<const Row*>(netsnmp_extract_iterator_context(request));
    if (row == nullptr) continue;
    const int& value = row->values[netsnmp_extract_table_info(request)->colnum - firstColumn];
    snmp_set_var_typed_value(request->requestvb, ASN_INTEGER, &value, sizeof value);
  }
  return SNMP_ERR_NOERROR;
}

void registerTable(const char* name, oid arc, oid lastArc, unsigned columns) {
  const oid root[] = {1, 3, 6, 1, 4, 1, 8072, 9999, arc, lastArc};
  auto* const table = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
  for (const u_char type : indexTypes) netsnmp_table_helper_add_index(table, type);
  table->min_column = firstColumn;
  table->max_column = firstColumn + columns - 1;
  auto* const iterator = SNMP_MALLOC_TYPEDEF(netsnmp_iterator_info);
  iterator->get_first_data_point = getFirst;
  iterator->get_next_data_point = getNext;
  iterator->make_data_context = makeDataContext;
  iterator->flags = NETSNMP_ITERATOR_FLAG_SORTED | NETSNMP_HANDLER_OWNS_IINFO;
  iterator->table_reginfo = table;
  netsnmp_register_table_iterator(
      netsnmp_create_handler_registration(name, handle, root, OID_LENGTH(root), HANDLER_CAN_RONLY), iterator);
}

// Numbers of rows and of the arc. With the last arc and the number of columns of ptpbaseClockPortTable, ...PortDSTable
// and ...PortRunningTable.
void readTables(const char*, char* line) {
  char* next = line;
  rows.assign(std::strtoul(line, &next, 10), Row{});
  unsigned port = 0;
  for (Row& row : rows) {
    row.index = {0, 2, 1, ++port};
    for (unsigned column = 0; column < mostColumns; ++column) row.values[column] = static_cast<int>(column);
  }
  const oid arc = std::strtoul(next, nullptr, 10);
  registerTable("floorPortTable", arc, 7, 4);
  registerTable("floorPortDSTable", arc, 8, 11);
  registerTable("floorPortRunningTable", arc, 9, 10);
}

}  // namespace

void init_floor(void) { snmpd_register_config_handler("floorTables", readTables, nullptr, "ROWS ARC"); }
