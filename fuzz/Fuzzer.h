#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ByteSource.h"

/// What libFuzzer, or RunCorpus.cpp in its place, calls with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process where a property does not hold; that is how libFuzzer learns of it.
inline void require(bool holds, const std::string& property) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", property.c_str());
  std::abort();
}

/// A refusal is one line that a terminal can show, and does not grow with what was refused.
inline void requireOneLine(const std::string& message) {
  constexpr std::size_t longest = 2000;
  require(!message.empty() && message.size() <= longest, "a message has 1 to 2000 bytes: " + message);
  for (const char c : message) require(c >= 0x20 && c < 0x7f, "a message is printable: " + message);
}

}  // namespace fuzz
