#pragma once

#include "NetSnmp.h"

#include <array>
#include <optional>
#include <tuple>

#include "PtpSnmp/PtpMib.h"
#include "Snmp/RegVoidCollByContext.h"
#include "Zarn/Exception.h"
#include "ptpbaseMIB/Column.h"
#include "ptpbaseMIB/KeyIndex.h"
#include "ptpbaseMIB/Recycled.h"
#include "ptpbaseMIB/SnmpTrace.h"

/// The logic of the agent library's callbacks, once for all tables. They are called from C, so nothing may
/// leave them: noexcept ends the process, which only exhausted memory can cause.
///
/// A step of a walk spends part of its time fetching instructions: the agent library's alone are twice the size of the
/// processor's first cache. So code that a usual step does not run is marked unlikely, and the compiler places it
/// apart.
///
/// A table T is a struct with:
///   name, rootOid            the MIB's
///   Key, Row                 of the container's table that it walks, which rows(container) gives
///   indexNames               the MIB's name for each component of the key, used in messages
///   columns                  the catalogue of the columns served, ascending
///   firstColumn, lastColumn  the range of column numbers that exist, served or not
namespace PtpSnmp::Mib {

template <class T>
class TableIterator {
  using Key = typename T::Key;
  using Index = KeyIndex<Key>;
  using Iterator = typename Zarn::RbTreeMap<Key, typename T::Row>::BasicIteratorConst;
  using Contexts = Recycled<Iterator>;

 public:
  /// Begins a walk at the row that the hint names, or else at the first row. The loop-context slot holds the
  /// hint when the library calls, and must hold a loop context when this returns, or the library would free
  /// the hint.
  static netsnmp_variable_list* getFirst(void** loopContext, void** /*dataContext*/, netsnmp_variable_list* indexes,
                                         netsnmp_iterator_info* info) noexcept {
    const auto& record = *static_cast<const Snmp::RegVoid*>(info->myvoid);
    const auto& rows = T::rows(*static_cast<const PtpMib*>(record.data()));
    const auto* const hint = static_cast<const netsnmp_table_request_info*>(*loopContext);
    trace("_get_first_data_point - *hint = ", address(hint),
          ", number_indexes = ", hint != nullptr ? static_cast<int>(hint->number_indexes) : 0);

    Iterator position = rows.end();
    bool hintMatched = false;
    if (const std::optional<Key> key = keyFromHint(hint)) {
      position = rows.find(*key);
      hintMatched = !position.atEnd();
      if (!hintMatched) trace("_get_first_data_point - key '", *key, "' not found in table");
      count(record, hintMatched ? Snmp::hintMatched : Snmp::hintNotFound);
    }
    if (!hintMatched) [[unlikely]] {
      // Not at the neighbour that the search passed: the library picks the row that follows the request's
      // index by comparing from the first one on.
      position = rows.begin();
      count(record, Snmp::startedAtFirst);
    }
    auto* const context = Contexts::make(std::move(position));
    trace("_get_first_data_point - allocated new loop context ", address(context), ", hintMatched=", hintMatched);
    *loopContext = context;
    return writeIndex(context, indexes);
  }

  static netsnmp_variable_list* getNext(void** loopContext, void** dataContext, netsnmp_variable_list* indexes,
                                        netsnmp_iterator_info* info) noexcept {
    const auto& record = *static_cast<const Snmp::RegVoid*>(info->myvoid);
    auto* const context = static_cast<Iterator*>(*loopContext);
    if (context == nullptr || context->atEnd()) [[unlikely]] {
      trace("_get_next_data_point - at end of loop context ", address(context));
      count(record, Snmp::nextWithoutContext);
      return nullptr;
    }
    auto* const data = static_cast<Iterator*>(*dataContext);
    trace("_get_next_data_point - advancing loop context ", address(context), " ; data context ", address(data));
    context->advance();
    count(record, context->atEnd() ? Snmp::nextAtEnd : Snmp::nextAdvanced);
    if (data != nullptr) [[unlikely]] {
      *data = *context;  // the library passes none: it makes data contexts only for the rows that it keeps
    }
    return writeIndex(context, indexes);
  }

  /// Writes the current row's key into the index varbinds; null at the end.
  static netsnmp_variable_list* writeIndex(const void* loopContext, netsnmp_variable_list* indexes) noexcept {
    const auto& position = *static_cast<const Iterator*>(loopContext);
    if (position.atEnd()) [[unlikely]] {
      trace("IterationHelper - iterator is at end");
      return nullptr;
    }
    netsnmp_variable_list* varbind = indexes;
    std::array<u_char, maxBuffer> buffer;
    [&]<std::size_t... I>(std::index_sequence<I...>) { (writeComponent<I>(position->key(), varbind, buffer), ...); }
    (std::make_index_sequence<Index::size>{});
    return indexes;
  }

  static void* makeDataContext(const void* loopContext) noexcept {
    auto* const context = Contexts::make(*static_cast<const Iterator*>(loopContext));
    trace("_make_data_context - allocated data context ", address(context), " for loop context ", address(loopContext));
    return context;
  }

  static void freeDataContext(void* context) noexcept {
    trace("_free_data_context ", address(context));
    Contexts::free(static_cast<Iterator*>(context));
  }

  static void freeLoopContextAtEnd(void* context) noexcept {
    trace("_free_loop_context_at_end ", address(context));
    Contexts::free(static_cast<Iterator*>(context));
  }

  /// The row that a data context stands on.
  static const typename T::Row& row(const void* dataContext) { return **static_cast<const Iterator*>(dataContext); }

 private:
  static const void* address(const void* pointer) noexcept { return pointer; }

  template <class... Parts>
  static void trace(const Parts&... parts) {
    snmpTrace().trace(requestLevel, T::name, parts...);
  }

  static void count(const Snmp::RegVoid& record, Snmp::OrderedTableIteratorCounterTypes kind) noexcept {
    if (record.counters()) record.counters()->orderedIterCntrsInc(kind, 1);
  }

  // The key that the hint names; none, with a trace, where it names no key. Such a request is not in error:
  // its walk begins at the first row.
  static std::optional<Key> keyFromHint(const netsnmp_table_request_info* hint) {
    if (hint == nullptr || static_cast<std::size_t>(hint->number_indexes) != Index::size) return std::nullopt;
    typename Index::Values values{};
    const netsnmp_variable_list* varbind = hint->indexes;
    unsigned good = 0;
    [&]<std::size_t... I>(std::index_sequence<I...>) {
      ((good += readComponent<I>(varbind, std::get<I>(values)) ? 1 : 0), ...);
    }
    (std::make_index_sequence<Index::size>{});
    if (good < Index::size) [[unlikely]] {
      trace("_get_first_data_point - needed ", Index::size, " components, found only ", good);
      return std::nullopt;
    }
    try {
      return std::make_from_tuple<Key>(values);
    } catch (const std::exception& why) {
      snmpTrace().trace(errorLevel, "Bad hint for ", T::name, ": ", Index::typeName,
                        " ctor threw exception: ", why.what());
      return std::nullopt;
    }
  }

  // Reads one component and steps on; false, with a trace where there was something to read, if it is not
  // good.
  template <std::size_t I, class Value>
  static bool readComponent(const netsnmp_variable_list*& varbind, Value& value) {
    if (varbind == nullptr) return false;
    const netsnmp_variable_list& component = *varbind;
    varbind = varbind->next_variable;
    constexpr const char* name = T::indexNames[I];
    constexpr unsigned expected = Component<Value>::asnType;
    if (component.type != expected) [[unlikely]] {
      snmpTrace().trace(errorLevel, "hint for ", name, " has incorrect type! Expecting ", expected, " but got ",
                        unsigned{component.type});
      return false;
    }
    try {
      value = Component<Value>::parse(component.val.integer);
    } catch (const std::exception& why) {
      snmpTrace().trace(errorLevel, "hint for index ", name, " of ", T::name, " is out of range! ", why.what());
      return false;
    }
    snmpTrace().trace(requestLevel, "hint component ", name, " is '", value, "'");
    return true;
  }

  // Writes one component and steps on. There are fewer varbinds than components where one could not be set up at
  // registration; what has no place is left out.
  template <std::size_t I>
  static void writeComponent(const Key& key, netsnmp_variable_list*& varbind, std::array<u_char, maxBuffer>& buffer) {
    if (varbind == nullptr) return;
    const auto value = Index::template value<I>(key);
    using Value = std::remove_const_t<decltype(value)>;
    trace("IterationHelper - iterator has another value: ", Index::template name<I>(), "=", value);
    const std::int32_t length = Component<Value>::encode(value, buffer.data(), maxBuffer);
    snmp_set_var_typed_value(varbind, Component<Value>::asnType, buffer.data(), static_cast<std::size_t>(length));
    varbind = varbind->next_variable;
  }
};

template <class T>
class TableHandler {
 public:
  static int handle(const netsnmp_agent_request_info* requestInfo, netsnmp_request_info* requests) noexcept {
    snmpTrace().trace(requestLevel, T::name, "_handler");
    snmpTrace().trace(requestLevel, T::name, "_handler: request mode ", requestInfo->mode);
    return requestInfo->mode == MODE_GET ? get(requests) : refuse(requests);
  }

 private:
  using Row = typename T::Row;

  static bool processed(const netsnmp_request_info* request) {
    if (request->processed == 0) return false;
    snmpTrace().trace(requestLevel, T::name, "_handler: request ", static_cast<const void*>(request),
                      " already processed");
    return true;
  }

  static void traceInvalidColumn(unsigned number) {
    snmpTrace().trace(errorLevel, T::name, " invalid column ", number);
  }

  // Anything but a GET: the first request that is open is refused, and with it the packet.
  static int refuse(netsnmp_request_info* requests) {
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
      if (processed(request)) continue;
      const netsnmp_table_request_info* const table = netsnmp_extract_table_info(request);
      traceInvalidColumn(table != nullptr ? table->colnum : 0);
      netsnmp_request_set_error(request, SNMP_ERR_NOTWRITABLE);
      break;
    }
    return SNMP_ERR_NOERROR;
  }

  static int get(netsnmp_request_info* requests) {
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
      if (processed(request)) continue;
      const void* const context = netsnmp_extract_iterator_context(request);
      if (context == nullptr) {
        snmpTrace().trace(requestLevel, T::name, "_handler: null data context in request");
        return SNMP_ERR_NOERROR;
      }
      const unsigned number = netsnmp_extract_table_info(request)->colnum;
      const Column<Row>* const column = find(number);
      if (column == nullptr) {
        traceInvalidColumn(number);
        netsnmp_request_set_error(request, SNMP_NOSUCHOBJECT);
        return SNMP_ERR_NOERROR;
      }
      if (!serve(*column, TableIterator<T>::row(context), *request)) {
        // On the head of the list, whichever request failed: the packet as a whole is in error.
        netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
        return SNMP_ERR_GENERR;
      }
    }
    return SNMP_ERR_NOERROR;
  }

  static const Column<Row>* find(unsigned number) noexcept {
    for (const Column<Row>& column : T::columns) {
      if (column.number == number) return &column;
    }
    return nullptr;
  }

  // Converts the column's value on this frame and hands it to the varbind; false, with a trace, where it has
  // none.
  static bool serve(const Column<Row>& column, const Row& row, netsnmp_request_info& request) {
    snmpTrace().trace(requestLevel, T::name, "_handler: request GET for column ", column.name, ", key ", row.key());
    std::array<u_char, maxBuffer> buffer;
    const Encoding<Row>& encoding = column.encoding;
    const std::int32_t length = encoding.encode(row, buffer.data(), encoding.length.buffer);
    if (length < 0) {
      snmpTrace().trace(requestLevel, "handle_", T::name, " - ", encoding.converter, " failed for: ", column.attribute);
      return false;
    }
    if (encoding.length.checked && (length < encoding.length.min || length > encoding.length.max)) {
      snmpTrace().trace(requestLevel, "handle_", T::name,
                        " - entity /<sysname>/snmp/ptp/ptpmib length out of range: ", column.attribute, " (", length,
                        ")");
      return false;
    }
    snmp_set_var_typed_value(request.requestvb, encoding.asnType, buffer.data(), static_cast<std::size_t>(length));
    return true;
  }
};

}  // namespace PtpSnmp::Mib
