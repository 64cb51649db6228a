#pragma once

#include <array>
#include <memory>
#include <optional>

#include "Rows.h"
#include "Snmp/RegVoidCollByContext.h"

namespace test {

/// A hint as the library's table helper makes it, or as it never would.
class Hint {
 public:
  /// The row's index, each component of its proper type.
  Hint(const Table& table, const Oid& index);
  Hint(const Hint&) = delete;
  Hint& operator=(const Hint&) = delete;
  ~Hint();

  netsnmp_table_request_info info{};
  netsnmp_variable_list& component(std::size_t i);
  void append(u_char type, long value);
  /// Drops the components from the given one on, but counts them still.
  void cut(std::size_t i);
};

/// One walk of a table's callbacks, called as the library calls them.
class Walk {
 public:
  Walk(const Table& table, const Device& device);
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;
  ~Walk();

  /// The index written; none where the callback returned null.
  std::optional<Oid> first(const Hint* hint = nullptr);
  std::optional<Oid> next();

  /// The index of the row where a loop or data context stands; none at the end.
  std::optional<Oid> at(const void* context) const;

  void* makeDataContext() { return table_.makeDataContext(loopContext, &info_); }
  void freeDataContext(void* context) { table_.freeDataContext(context, &info_); }
  void endLoop();

  /// How often each kind was counted, and forgets it.
  std::array<unsigned long, 6> takeCounts();
  void withoutCounters() { record_->countersIs(nullptr); }

  void* loopContext = nullptr;
  void* dataContext = nullptr;

 private:
  std::optional<Oid> indexOf(const netsnmp_variable_list* written) const;

  const Table& table_;
  Kestor::Ptr<Snmp::RegVoid> record_;
  netsnmp_iterator_info info_{};
  netsnmp_variable_list* indexes_ = nullptr;
};

}  // namespace test
