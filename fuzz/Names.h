#pragma once

#include <array>
#include <cstdint>

#include "ByteSource.h"

namespace fuzz {

/// A name in or about the tables: often a whole one, of a column and a row that exist.
template <class Oid>
Oid drawName(ByteSource& input) {
  Oid name = {1, 3, 6, 1, 2, 1, 241};
  const unsigned group = 1 + input.below(2);
  const std::array<std::uint32_t, 8> tail = {
      1, group, 1 + input.below(group == 1 ? 2 : 10), 1, 1 + input.below(16), 7, input.oneIn(2) ? 3U : 1U, 1};
  name.insert(name.end(), tail.begin(), tail.end());
  if (input.oneIn(2)) name.push_back(input.oneIn(2) ? 300 : 1);
  for (unsigned changes = input.below(4); changes > 0; --changes) {
    switch (input.below(4)) {
      case 0: name.push_back(input.byte()); break;
      case 1: name.resize(7 + input.below(10), 1); break;
      case 2: name[2 + input.byte() % (name.size() - 2)] = input.byte(); break;
      default: name[2 + input.byte() % (name.size() - 2)] = input.number<std::uint32_t>(); break;
    }
  }
  return name;
}

}  // namespace fuzz
