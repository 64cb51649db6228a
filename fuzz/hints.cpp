// The iteration of each table, begun at hints as the agent library makes them and as it never would.
#include <algorithm>
#include <memory>
#include <optional>

#include "Fuzzer.h"
#include "Rows.h"
#include "Snmp/RegVoidCollByContext.h"

namespace {

using namespace test;

struct FreeVarbinds {
  void operator()(netsnmp_variable_list* varbinds) const { snmp_free_varbind(varbinds); }
};
using Varbinds = std::unique_ptr<netsnmp_variable_list, FreeVarbinds>;

void append(Varbinds& varbinds, u_char type, long value) {
  netsnmp_variable_list* list = varbinds.release();
  netsnmp_variable_list* const added = snmp_varlist_add_variable(&list, nullptr, 0, type, nullptr, 0);
  varbinds.reset(list);
  // Past the library, which would cut it to 32 bits.
  added->val.integer = reinterpret_cast<long*>(added->buf);
  *added->val.integer = value;
  added->val_len = sizeof value;
}

Varbinds varbindsOf(const Table& table, const Oid& index) {
  Varbinds varbinds;
  for (std::size_t i = 0; i < index.size(); ++i) append(varbinds, table.indexes[i].type, static_cast<long>(index[i]));
  return varbinds;
}

/// The callbacks of one table, called in turn as the library calls them.
class Walk {
 public:
  Walk(const Table& table, void* record) : table_(table) {
    info_.myvoid = record;
    netsnmp_variable_list* list = nullptr;
    for (const Index& index : table.indexes) snmp_varlist_add_variable(&list, nullptr, 0, index.type, nullptr, 0);
    indexes_.reset(list);
  }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;
  ~Walk() {
    if (dataContext_ != nullptr) table_.freeDataContext(dataContext_, &info_);
    table_.freeLoopContextAtEnd(loopContext_, &info_);
  }

  /// Once; the first thing.
  std::optional<Oid> first(netsnmp_table_request_info* hint) {
    loopContext_ = hint;
    const auto* const row = table_.getFirst(&loopContext_, &dataContext_, indexes_.get(), &info_);
    fuzz::require(loopContext_ != nullptr && loopContext_ != hint, "the hint is left to the library");
    return indexOf(row);
  }
  std::optional<Oid> next() { return indexOf(table_.getNext(&loopContext_, &dataContext_, indexes_.get(), &info_)); }
  void keepRow() {
    if (dataContext_ == nullptr) dataContext_ = table_.makeDataContext(loopContext_, &info_);
  }

 private:
  std::optional<Oid> indexOf(const netsnmp_variable_list* row) const {
    if (row == nullptr) return std::nullopt;
    fuzz::require(row == indexes_.get(), "a row is told in the varbinds that were given");
    Oid index;
    for (const Index& component : table_.indexes) {
      fuzz::require(row != nullptr && row->type == component.type, "an index has its table's types");
      index.push_back(static_cast<oid>(*row->val.integer));
      row = row->next_variable;
    }
    return index;
  }

  const Table& table_;
  netsnmp_iterator_info info_{};
  Varbinds indexes_;
  void* loopContext_ = nullptr;
  void* dataContext_ = nullptr;
};

netsnmp_table_request_info hintOf(const Varbinds& varbinds, std::size_t count) {
  netsnmp_table_request_info hint{};
  hint.indexes = varbinds.get();
  hint.number_indexes = static_cast<decltype(hint.number_indexes)>(count);
  return hint;
}

/// What the library may find in a request, where it can be read as an index of the table and where it cannot.
struct Drawn {
  Varbinds varbinds;
  std::size_t count = 0;     ///< as the hint tells it
  std::optional<Oid> index;  ///< where it is one: the count is the table's, and so are that many varbinds' types
};

Drawn drawHint(fuzz::ByteSource& input, const Table& table) {
  Drawn hint;
  const auto& rows = rowIndexes(table);
  const Oid& row = rows[input.byte() % rows.size()];
  const std::size_t size = input.oneIn(4) ? input.below(8) : row.size();
  Oid index;
  for (std::size_t i = 0; i < size; ++i) {
    const u_char proper = i < row.size() ? table.indexes[i].type : u_char{ASN_UNSIGNED};
    const u_char type = input.oneIn(16) ? input.byte() : proper;
    const long value = input.oneIn(4) || i >= row.size() ? input.number<long>() : static_cast<long>(row[i]);
    append(hint.varbinds, type, value);
    if (type == proper && i < row.size()) index.push_back(static_cast<oid>(value));
  }
  hint.count = input.oneIn(16) ? input.byte() : size;
  if (hint.count == row.size() && index.size() == row.size()) hint.index = index;
  return hint;
}

struct Tables {
  Device device;
  Kestor::Ptr<Snmp::RegVoid> record = Kestor::make<Snmp::RegVoid>(device.ptpMib.get());
  Tables() { addRows(device); }
};

// From there on the rows come in order, each once, and each is found by its own index.
void walkOn(const Table& table, void* record, Walk& walk, const Oid& from, fuzz::ByteSource& input) {
  const auto& rows = rowIndexes(table);
  auto expected = std::find(rows.begin(), rows.end(), from);
  for (std::optional<Oid> index = from; index; index = walk.next(), ++expected) {
    fuzz::require(expected != rows.end() && *index == *expected, "rows come in the order of their index");
    if (input.oneIn(2)) walk.keepRow();
    const Varbinds varbinds = varbindsOf(table, *index);
    netsnmp_table_request_info hint = hintOf(varbinds, index->size());
    fuzz::require(Walk(table, record).first(&hint) == index, "a row is found by its index");
  }
  fuzz::require(expected == rows.end(), "the walk ends behind the last row");
  fuzz::require(!walk.next(), "an end is an end");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Tables all;
  void* const record = all.record.get();
  fuzz::ByteSource input(data, size);
  const Table& table = tables()[input.below(static_cast<unsigned>(tables().size()))];
  const auto& rows = rowIndexes(table);

  const Drawn drawn = drawHint(input, table);
  netsnmp_table_request_info hint = hintOf(drawn.varbinds, drawn.count);
  Walk walk(table, record);
  const bool hinted = !input.oneIn(32);
  const auto first = walk.first(hinted ? &hint : nullptr);
  const bool named = hinted && drawn.index && std::find(rows.begin(), rows.end(), *drawn.index) != rows.end();
  fuzz::require(first == (named ? *drawn.index : rows.front()),
                "a walk begins at the row that is named or at the first");
  walkOn(table, record, walk, *first, input);
  return 0;
}
