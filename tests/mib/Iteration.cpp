#include "Iteration.h"

#include <gtest/gtest.h>

namespace test {

Hint::Hint(const Table& table, const Oid& index) {
  for (std::size_t i = 0; i < index.size(); ++i) {
    append(i < table.indexes.size() ? table.indexes[i].type : ASN_UNSIGNED, static_cast<long>(index[i]));
  }
}

Hint::~Hint() { snmp_free_varbind(info.indexes); }

netsnmp_variable_list& Hint::component(std::size_t i) {
  netsnmp_variable_list* variable = info.indexes;
  while (i-- > 0) variable = variable->next_variable;
  return *variable;
}

void Hint::append(u_char type, long value) {
  netsnmp_variable_list* const added = snmp_varlist_add_variable(&info.indexes, nullptr, 0, type, nullptr, 0);
  // Past the library, which would cut it to 32 bits.
  added->val.integer = reinterpret_cast<long*>(added->buf);
  *added->val.integer = value;
  added->val_len = sizeof value;
  ++info.number_indexes;
}

void Hint::cut(std::size_t i) {
  netsnmp_variable_list** link = &info.indexes;
  while (i-- > 0) link = &(*link)->next_variable;
  snmp_free_varbind(*link);
  *link = nullptr;
}

Walk::Walk(const Table& table, const Device& device)
    : table_(table), record_(Kestor::make<Snmp::RegVoid>(device.ptpMib.get())) {
  info_.myvoid = record_.get();
  for (const Index& index : table.indexes) {
    snmp_varlist_add_variable(&indexes_, nullptr, 0, index.type, nullptr, 0);
  }
}

Walk::~Walk() {
  endLoop();
  snmp_free_varbind(indexes_);
}

void Walk::endLoop() {
  if (loopContext != nullptr) table_.freeLoopContextAtEnd(loopContext, &info_);
  loopContext = nullptr;
}

std::optional<Oid> Walk::first(const Hint* hint) {
  endLoop();
  loopContext = const_cast<netsnmp_table_request_info*>(hint != nullptr ? &hint->info : nullptr);
  const netsnmp_variable_list* const written = table_.getFirst(&loopContext, &dataContext, indexes_, &info_);
  EXPECT_NE(loopContext, nullptr);
  EXPECT_NE(loopContext, hint != nullptr ? &hint->info : nullptr) << "the library would free the hint";
  return indexOf(written);
}

std::optional<Oid> Walk::next() { return indexOf(table_.getNext(&loopContext, &dataContext, indexes_, &info_)); }

std::optional<Oid> Walk::at(const void* context) const {
  return indexOf(table_.iterationHelper(const_cast<void*>(context), indexes_));
}

std::optional<Oid> Walk::indexOf(const netsnmp_variable_list* written) const {
  if (written == nullptr) return std::nullopt;
  EXPECT_EQ(written, indexes_);
  Oid index;
  std::size_t i = 0;
  for (; written != nullptr; written = written->next_variable, ++i) {
    EXPECT_EQ(written->type, table_.indexes.at(i).type);
    index.push_back(static_cast<oid>(*written->val.integer));
  }
  EXPECT_EQ(i, table_.indexes.size());
  return index;
}

std::array<unsigned long, 6> Walk::takeCounts() {
  std::array<unsigned long, 6> counts{};
  for (unsigned kind = 0; kind < 6; ++kind) {
    counts[kind] = record_->counters()->orderedIterCntrs(static_cast<Snmp::OrderedTableIteratorCounterTypes>(kind));
  }
  record_->countersIs(Kestor::make<Snmp::TableCounters>());
  return counts;
}

}  // namespace test
