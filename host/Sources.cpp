#include "Sources.h"

#include <sstream>
#include <string_view>

#include "DemoDevices.h"
#include "ReplaySource.h"
#include "ptp4l/Ptp4lSource.h"

namespace host {
namespace {

std::unique_ptr<Source> makeDemo(EventLoop& loop, std::string_view device) {
  auto text = std::make_unique<std::istringstream>(std::string(demoDevice(device)));
  return std::make_unique<ReplaySource>(loop, "demo:" + std::string(device), std::move(text), Repeat::yes);
}

}  // namespace

std::string complaintAboutSource(const std::string& source) {
  const bool known = source == "demo" || source == "demo:boundary" || source == "demo:transparent" ||
                     source == "ptp4l" || source.starts_with("ptp4l:") || source.starts_with("replay:");
  const bool named = !source.ends_with(':');
  return known && named ? "" : "\"" + source + "\" is not demo, demo:transparent, replay:FILE, ptp4l or ptp4l:SOCKET";
}

std::unique_ptr<Source> makeSource(EventLoop& loop, const SourceOptions& options, MonotonicCounters& counters) {
  const std::size_t colon = options.source.find(':');
  const std::string kind = options.source.substr(0, colon);
  const std::string argument = colon == std::string::npos ? "" : options.source.substr(colon + 1);
  if (kind == "replay") return ReplaySource::open(loop, argument);
  if (kind == "ptp4l") {
    return std::make_unique<ptp4l::Ptp4lSource>(loop, counters, argument.empty() ? defaultPtp4lSocket : argument,
                                                options.poll);
  }
  return makeDemo(loop, argument.empty() ? "boundary" : argument);
}

}  // namespace host
