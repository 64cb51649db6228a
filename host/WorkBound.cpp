#include "WorkBound.h"

#include "NetSnmp.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Kestor/Ptr.h"
#include "Snmp/RegVoidCollByContext.h"
#include "Zarn/Entity.h"

namespace host {
namespace {

constexpr char handlerName[] = "ptpsnmp_work_bound";
constexpr char libraryBulkHandler[] = "bulk_to_next";  // below it the library asks once for each repetition
constexpr char defaultContext[] = "";

/// How much the tables have cost since the process began, in rows.
class Meter {
 public:
  /// A cell of this table is about to be tried.
  void cell(const Snmp::TableCounters& table) noexcept {
    readTable();
    cost_ += rowsPerCell;
    table_ = &table;
    walked_ = rowsWalked(table);
  }
  void forget(const Snmp::TableCounters& table) noexcept {
    if (table_ == &table) table_ = nullptr;
  }
  unsigned long cost() const noexcept { return cost_; }

 private:
  static unsigned long rowsWalked(const Snmp::TableCounters& table) noexcept {
    return table.orderedIterCntrs(Snmp::nextAdvanced);
  }
  void readTable() noexcept {
    if (table_ != nullptr) cost_ += rowsWalked(*table_) - walked_;
  }

  unsigned long cost_ = 0;
  const Snmp::TableCounters* table_ = nullptr;  // of the last cell
  unsigned long walked_ = 0;                    // by it, when that cell began
};
Meter meter;
unsigned long mostCost = mostRowsPerMessage;  // of one message

/// A registered table. Its handler owns it.
class BoundedTable {
 public:
  explicit BoundedTable(Kestor::Ptr<Snmp::TableCounters> counters) : counters_(std::move(counters)) {}
  BoundedTable(const BoundedTable&) = delete;
  BoundedTable& operator=(const BoundedTable&) = delete;
  ~BoundedTable() { meter.forget(*counters_); }

  static BoundedTable& of(const netsnmp_mib_handler& handler) { return *static_cast<BoundedTable*>(handler.myvoid); }
  const Snmp::TableCounters& counters() const noexcept { return *counters_; }

 private:
  const Kestor::Ptr<Snmp::TableCounters> counters_;
};

// Whether the message has cost all that it may. The library keeps beside each message where the meter stood at first.
bool isSpent(netsnmp_agent_request_info& message) {
  const auto* const atFirst = static_cast<unsigned long*>(netsnmp_agent_get_list_data(&message, handlerName));
  if (atFirst != nullptr) return meter.cost() - *atFirst > mostCost;
  auto* const now = SNMP_MALLOC_TYPEDEF(unsigned long);
  if (now == nullptr) return true;
  *now = meter.cost();
  netsnmp_agent_add_list_data(&message, netsnmp_create_data_list(handlerName, now, free));
  return false;
}

// A mark in place of a value, at which the library ends an answer. It would try a name for ever that is out of view,
// and does not know the mark in an answer to a master agent.
bool endAnswer(netsnmp_agent_request_info& message, netsnmp_request_info& request) {
  netsnmp_pdu* const pdu = message.asp->pdu;
  netsnmp_variable_list& varbind = *request.requestvb;
  if (message.mode != MODE_GETBULK || (pdu->flags & UCD_MSG_FLAG_ALWAYS_IN_VIEW) != 0) return false;
  if (in_a_view(varbind.name, &varbind.name_length, pdu, varbind.type) != VACM_SUCCESS) return false;
  varbind.type = ASN_PRIV_STOP;
  request.repeat = request.orig_repeat = 0;
  return true;
}

// The library calls this with one request at a time, and the handlers below it after that.
int boundWork(netsnmp_mib_handler* handler, netsnmp_handler_registration*, netsnmp_agent_request_info* message,
              netsnmp_request_info* request) noexcept {
  meter.cell(BoundedTable::of(*handler).counters());
  if (!isSpent(*message)) return SNMP_ERR_NOERROR;
  handler->flags |= MIB_HANDLER_AUTO_NEXT_OVERRIDE_ONCE;
  if (!endAnswer(*message, *request)) netsnmp_request_set_error(request, SNMP_ERR_TOOBIG);
  return SNMP_ERR_NOERROR;
}

void deleteTable(void* table) noexcept { delete static_cast<BoundedTable*>(table); }

Kestor::Ptr<Snmp::TableCounters> countersOf(const std::string& table) {
  const auto* const records = dynamic_cast<const Snmp::RegVoidCollByContext*>(
      Zarn::Entity::singletonExists(Snmp::RegVoidCollByContext::typeName));
  const auto record = records == nullptr ? nullptr : records->regVoid(defaultContext, table);
  return record ? record->counters() : nullptr;
}

void bound(netsnmp_handler_registration& registration) {
  // The module names a table's handler by the table and its context, with "_" between them.
  const std::string_view name = registration.handlerName;
  auto counters = countersOf(std::string(name.substr(0, name.find('_'))));
  netsnmp_mib_handler* const handler = netsnmp_create_handler(handlerName, boundWork);
  if (!counters || handler == nullptr) return netsnmp_handler_free(handler);
  handler->flags |= MIB_HANDLER_AUTO_NEXT;
  handler->myvoid = std::make_unique<BoundedTable>(std::move(counters)).release();
  handler->data_free = deleteTable;
  if (netsnmp_inject_handler_before(&registration, handler, libraryBulkHandler) != SNMPERR_SUCCESS) {
    netsnmp_handler_free(handler);
  }
}

}  // namespace

void boundWorkOfTables(unsigned long mostRows) {
  mostCost = mostRows;
  constexpr oid systemGroup = 1;
  constexpr oid clockGroup = 2;
  constexpr std::array<std::pair<oid, oid>, 2> tablesByGroup{{{systemGroup, 2}, {clockGroup, 10}}};
  for (const auto& [group, tables] : tablesByGroup) {
    for (oid table = 1; table <= tables; ++table) {
      const std::array<oid, 10> root{1, 3, 6, 1, 2, 1, 241, 1, group, table};
      netsnmp_subtree* const found = netsnmp_subtree_find(root.data(), root.size(), nullptr, defaultContext);
      if (found != nullptr && found->reginfo != nullptr) bound(*found->reginfo);
    }
  }
}

}  // namespace host
