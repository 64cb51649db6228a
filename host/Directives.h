#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "Sources.h"

namespace host {

/// What the SNMP engine's configuration says of the clock:
///
///     ptpSource  demo | demo:transparent | replay:FILE | ptp4l | ptp4l:SOCKET
///     ptpPoll    MILLISECONDS
///     ptpTrace   HANDLE/LEVELS,...
///
/// A value with blanks at its ends, a quote or " #" in it stands in quotes; a comment may follow. A bad value is
/// reported by the engine with file and line, and stands for none. A trace selection holds from where it is read;
/// several add up.
struct Directives {
  std::optional<std::string> source;
  std::optional<std::chrono::milliseconds> poll;
  std::string sourceRefused;  ///< why a source was refused; empty where none was
  std::string pollRefused;

  /// The source, with these values for what the configuration leaves open.
  SourceOptions sourceOr(const SourceOptions& defaults) const;
};

/// The value in a directive's arguments: without a comment, and without the quotes.
std::string valueOf(const char* arguments);

/// Has the engine's configuration reader know the directives; one at a time in a process. What it read last is in
/// value(); each reading starts from nothing. The engine's application name must be set.
class DirectiveReader {
 public:
  DirectiveReader();
  DirectiveReader(const DirectiveReader&) = delete;
  DirectiveReader& operator=(const DirectiveReader&) = delete;
  ~DirectiveReader();

  const Directives& value() const noexcept;

  /// To be told what the engine logs while it reads: a directive without a value it refuses by itself,
  /// and a file that is to be included and cannot be read, in which the source may stand, it passes over.
  static void engineSaid(std::string_view message);
};

}  // namespace host
