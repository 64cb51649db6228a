#include "WorkBound.h"

#include "NetSnmp.h"

#include <spdlog/spdlog.h>

#include <array>
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

/// How much the message that is being answered has cost the tables, in rows.
class Meter {
 public:
  /// A cell of this table is about to be tried for a message.
  void cell(const netsnmp_agent_session& message, const Snmp::TableCounters& table) noexcept {
    if (isAnother(message)) {
      cost_ = 0;
    } else if (table_ != nullptr) {
      cost_ += rowsWalked(*table_) - walked_;
    }
    cost_ += rowsPerCell;
    table_ = &table;
    walked_ = rowsWalked(table);
  }
  void forget(const Snmp::TableCounters& table) noexcept {
    if (table_ == &table) table_ = nullptr;
  }
  bool isSpent() const noexcept { return cost_ > most_ && cost_ > rowsPerCell; }
  void mostIs(unsigned long most) noexcept { most_ = most; }

 private:
  static unsigned long rowsWalked(const Snmp::TableCounters& table) noexcept {
    return table.orderedIterCntrs(Snmp::nextAdvanced);
  }
  // The library numbers the messages that come in, and a master agent those that it sends.
  bool isAnother(const netsnmp_agent_session& message) noexcept {
    const netsnmp_pdu& pdu = *message.pdu;
    if (message_ == &message && transaction_ == pdu.transid && request_ == pdu.reqid) return false;
    message_ = &message;
    transaction_ = pdu.transid;
    request_ = pdu.reqid;
    return true;
  }

  unsigned long most_ = mostRowsPerMessage;
  unsigned long cost_ = 0;
  const Snmp::TableCounters* table_ = nullptr;  // of the last cell
  unsigned long walked_ = 0;                    // by it, when that cell began
  const netsnmp_agent_session* message_ = nullptr;
  long transaction_ = 0;
  long request_ = 0;
};
Meter meter;

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
  meter.cell(*message->asp, *static_cast<const Snmp::TableCounters*>(handler->myvoid));
  if (!meter.isSpent()) return SNMP_ERR_NOERROR;
  handler->flags |= MIB_HANDLER_AUTO_NEXT_OVERRIDE_ONCE;
  if (!endAnswer(*message, *request)) netsnmp_request_set_error(request, SNMP_ERR_TOOBIG);
  return SNMP_ERR_NOERROR;
}

// Ends the handler's own reference to the counters of its table.
void releaseCounters(void* counters) noexcept {
  const Kestor::Ptr<Snmp::TableCounters> last(static_cast<Snmp::TableCounters*>(counters), false);
  meter.forget(*last);
}

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
  if (!counters || handler == nullptr) {
    netsnmp_handler_free(handler);
    return spdlog::error("the work of {} cannot be bounded", name);
  }
  handler->flags |= MIB_HANDLER_AUTO_NEXT;
  handler->myvoid = counters.detach();
  handler->data_free = releaseCounters;
  if (netsnmp_inject_handler_before(&registration, handler, libraryBulkHandler) != SNMPERR_SUCCESS) {
    netsnmp_handler_free(handler);
    spdlog::error("the work of {} cannot be bounded: no handler {}", name, libraryBulkHandler);
  }
}

}  // namespace

void boundWorkOfTables(unsigned long mostRows) {
  meter.mostIs(mostRows);
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
