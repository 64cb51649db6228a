#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <sstream>
#include <string_view>
#include <type_traits>

#include "Kestor/String.h"

namespace Zarn {

/// A named source of trace lines with 32 levels, of which level 0 carries errors. Each is off until it is selected.
///
/// A line is written whole, as `<handle>/<level> <message>`, to standard error or to the sink set instead.
class TraceHandle {
 public:
  /// The handle of the facility name; made on first use, it lives as long as the process.
  static TraceHandle& instance(std::string_view name);

  const Kestor::String& name() const noexcept { return name_; }
  bool on(unsigned level) const noexcept { return (levels_ & (1U << level)) != 0; }

  /// Writes a line made of the parts, streamed one after another. Nothing is formatted while the level is
  /// off, and being off costs one test.
  template <class... Parts>
  void trace(unsigned level, const Parts&... parts) const {
    if (on(level)) [[unlikely]] {
      write<Parts...>(level, parts...);
    }
  }

 private:
  friend class TraceSettings;
  TraceHandle(Kestor::String name, std::uint32_t levels) : name_(std::move(name)), levels_(levels) {}

  // Numbers and pointers by value: for a reference to one, it would be put into memory before the test of the level.
  template <class Part>
  using Argument = std::conditional_t<std::is_scalar_v<Part>, Part, const Part&>;

  // Not marked as cold: the compiler would take the code behind a line that traces for as seldom run, and put half of a
  // request's code far away.
  template <class... Parts>
  [[gnu::noinline]] void write(unsigned level, Argument<Parts>... parts) const {
    std::ostringstream os;
    (os << ... << parts);
    emit(level, os.str());
  }
  void emit(unsigned level, const Kestor::String& message) const;

  Kestor::String name_;
  std::uint32_t levels_;
};

/// Which levels of which handles are on, and where lines go.
class TraceSettings {
 public:
  using Sink = std::function<void(std::string_view line)>;

  /// Applies a selection such as "Snmp/0-2,PtpSnmp/8", to handles that exist and to those made later. Items are
  /// `<handle>/<level>`, `<handle>/<first>-<last>`, which add exactly these levels, and `<handle>/off`, which switches
  /// all levels of the handle off. Levels run from 0 to 31. Throws RangeException, naming the item, and then changes
  /// nothing.
  static void select(std::string_view selection);

  /// Forgets every selection: no level is on.
  static void reset();

  /// Receives each line, without its newline, instead of standard error; an empty sink brings that back.
  static void sinkIs(Sink sink);
};

}  // namespace Zarn
