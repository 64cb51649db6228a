#include "Zarn/Trace.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>

#include "Zarn/Exception.h"

namespace Zarn {
namespace {

constexpr std::uint32_t errorLevelOnly = 1;
constexpr unsigned levelLimit = 32;

struct Facility {
  std::map<Kestor::String, std::unique_ptr<TraceHandle>> handles;
  std::map<Kestor::String, std::uint32_t, std::less<>> selected;
  TraceSettings::Sink sink;

  // Never destroyed: modules trace while they are unloaded.
  static Facility& instance() {
    static auto* facility = new Facility;
    return *facility;
  }
};

unsigned parseLevel(std::string_view text, std::string_view item) {
  unsigned level = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
  if (error != std::errc{} || end != text.data() + text.size() || level >= levelLimit) {
    throw RangeException(
        fmt::format("trace selection \"{}\": expected <handle>/<level>, <handle>/<first>-<last> or "
                    "<handle>/off, with levels from 0 to {}",
                    item, levelLimit - 1));
  }
  return level;
}

std::uint32_t parseLevels(std::string_view text, std::string_view item) {
  const std::size_t dash = text.find('-');
  const unsigned first = parseLevel(text.substr(0, dash), item);
  const unsigned last = dash == std::string_view::npos ? first : parseLevel(text.substr(dash + 1), item);
  if (last < first) throw RangeException(fmt::format("trace selection \"{}\": the range is empty", item));
  std::uint32_t levels = 0;
  for (unsigned level = first; level <= last; ++level) levels |= 1U << level;
  return levels;
}

void writeToStandardError(std::string_view line) {
  const std::string text = fmt::format("{}\n", line);
  // One write, so that lines of several processes do not mix; a trace that cannot be written is lost.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

TraceHandle& TraceHandle::instance(std::string_view name) {
  Facility& facility = Facility::instance();
  std::unique_ptr<TraceHandle>& handle = facility.handles[Kestor::String(name)];
  if (!handle) {
    const auto it = facility.selected.find(name);
    handle.reset(new TraceHandle(Kestor::String(name), it == facility.selected.end() ? errorLevelOnly : it->second));
  }
  return *handle;
}

void TraceHandle::emit(unsigned level, const Kestor::String& message) const {
  const std::string line = fmt::format("{}/{} {}", name_, level, message);
  if (const auto& sink = Facility::instance().sink) {
    sink(line);
  } else {
    writeToStandardError(line);
  }
}

void TraceSettings::select(std::string_view selection) {
  Facility& facility = Facility::instance();
  auto selected = facility.selected;
  while (!selection.empty()) {
    const std::string_view item = selection.substr(0, selection.find(','));
    selection.remove_prefix(std::min(selection.size(), item.size() + 1));
    const std::size_t slash = item.find('/');
    const std::string_view levels = slash == std::string_view::npos ? "" : item.substr(slash + 1);
    const Kestor::String handle(item.substr(0, slash));
    if (handle.empty()) parseLevel("", item);
    std::uint32_t& mask = selected.emplace(handle, errorLevelOnly).first->second;
    if (levels == "off") {
      mask = 0;
    } else {
      mask |= parseLevels(levels, item);
    }
  }
  facility.selected = std::move(selected);
  for (const auto& [name, handle] : facility.handles) {
    const auto it = facility.selected.find(name);
    handle->levels_ = it == facility.selected.end() ? errorLevelOnly : it->second;
  }
}

void TraceSettings::reset() {
  Facility& facility = Facility::instance();
  facility.selected.clear();
  for (const auto& [name, handle] : facility.handles) handle->levels_ = errorLevelOnly;
}

void TraceSettings::sinkIs(Sink sink) { Facility::instance().sink = std::move(sink); }

}  // namespace Zarn
