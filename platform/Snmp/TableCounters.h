#pragma once

#include <array>
#include <cstdint>

#include "Kestor/Node.h"

namespace Snmp {

/// What happened while a request looked for its place in an ordered table.
enum OrderedTableIteratorCounterTypes : std::uint8_t {
  hintNotFound = 0,  ///< the first callback built a key from the hint, but no row has it
  hintMatched = 1,   ///< the first callback found the row that the hint names
  startedAtFirst = 2,
  nextWithoutContext = 3,  ///< the next callback had no loop context, or one at the end
  nextAtEnd = 4,           ///< the next callback moved past the last row
  nextAdvanced = 5,        ///< the next callback moved to another row
  orderedTableIteratorCounterTypeCount = 6,
};

/// A table's iteration counters: how often walks had to start from the first row.
class TableCounters final : public Kestor::Node {
 public:
  const Zarn::TypeData& typeData() const noexcept override;

  void orderedIterCntrsInc(OrderedTableIteratorCounterTypes kind, unsigned long count) noexcept {
    orderedIterCntrs_[kind] += count;
  }
  unsigned long orderedIterCntrs(OrderedTableIteratorCounterTypes kind) const noexcept {
    return orderedIterCntrs_[kind];
  }

 private:
  std::array<unsigned long, orderedTableIteratorCounterTypeCount> orderedIterCntrs_{};
};

}  // namespace Snmp
