#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "EventLoop.h"
#include "MonotonicCounters.h"
#include "Source.h"

namespace host {

/// What an operator chooses of a source.
struct SourceOptions {
  std::string source;                    ///< demo[:DEVICE], replay:FILE or ptp4l[:SOCKET]
  std::chrono::milliseconds poll{1000};  ///< how often a service is asked

  friend bool operator==(const SourceOptions&, const SourceOptions&) = default;
};

inline constexpr char defaultPtp4lSocket[] = "/var/run/ptp4l";
inline constexpr std::chrono::milliseconds shortestPoll{10};
inline constexpr std::chrono::milliseconds longestPoll{3600 * 1000};

/// What is wrong with the name of a source; empty where nothing is.
std::string complaintAboutSource(const std::string& source);

/// Makes the source that the options name. Throws std::runtime_error where it can never work. What a service counts is
/// shown through `counters`, which must outlive the source: handed to the next source of the same service, they go on.
std::unique_ptr<Source> makeSource(EventLoop& loop, const SourceOptions& options, MonotonicCounters& counters);

}  // namespace host
