#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "Pacer.h"
#include "Source.h"
#include "Zarn/SlabAllocator.h"

namespace host {

/// A document or one of its values cannot be accepted: what() names the path, the value and what was
/// expected, in one printable line of bounded length.
class DocumentError : public StatusRefused {
 public:
  using StatusRefused::StatusRefused;
};

/// Takes single objects from the slabs and the rest from the heap. A document of a thousand ports is made of tens of
/// thousands of small nodes: in the heap, those that are gone leave as many holes among those that stay, and the agent
/// library, which takes dozens of blocks for each varbind, would get them from ever other places.
template <class T>
struct NodeAllocator {
  using value_type = T;

  NodeAllocator() = default;
  template <class U>
  NodeAllocator(const NodeAllocator<U>&) noexcept {}

  T* allocate(std::size_t count) {
    const std::size_t size = count * sizeof(T);
    return static_cast<T*>(count == 1 ? Zarn::slabAllocate(size) : ::operator new(size));
  }
  void deallocate(T* block, std::size_t count) noexcept {
    if (count == 1) {
      Zarn::slabFree(block, sizeof(T));
    } else {
      ::operator delete(block);
    }
  }

  friend bool operator==(const NodeAllocator&, const NodeAllocator&) noexcept { return true; }
};

/// JSON whose numbers are exact over the whole range of a PTP time interval in nanoseconds (48 bits before
/// the point and 16 behind it) and of a 64-bit counter. Do not use its dump(): the library formats a float as
/// if it were a double.
using Json = nlohmann::basic_json<std::map, std::vector, std::string, bool, std::int64_t, std::uint64_t, long double,
                                  NodeAllocator>;

static_assert(std::numeric_limits<long double>::digits >= 64, "a time interval needs 64 significant bits");

/// Reads a text, piece by piece, into `result`, which is null before. No status document has an array: of one, the last
/// element alone is kept, so that it takes no memory and no time to move.
///
/// Throws DocumentError where the text is not JSON; where an object has one member twice; where it is nested so deeply
/// that handling it could exhaust the stack; or where a name, a text, a number or a gap is so long that the parser
/// would be busy with it alone. Part of it is in `result` then, and is the caller's to destroy in its own time.
void parseJson(std::string_view text, Json& result, Pacer& pacer);
/// The same, at once.
Json parseJson(std::string_view text);

/// For messages: the text cut to a length and with all but printable ASCII escaped.
std::string printable(std::string_view text);
/// For messages: the printable text in quotes.
std::string inQuotes(std::string_view text);
/// For messages: a scalar as JSON writes it; "an object" or "an array".
std::string describe(const Json& value);

}  // namespace host
