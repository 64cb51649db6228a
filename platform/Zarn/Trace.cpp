#include "Zarn/Trace.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>

#include "Zarn/Exception.h"
#include "Zarn/LineOutput.h"

namespace Zarn {
namespace {

constexpr unsigned levelLimit = 32;

struct Facility {
  std::map<Kestor::String, std::unique_ptr<TraceHandle>> handles;
  std::map<Kestor::String, std::uint32_t, std::less<>> selected;
  TraceSettings::Sink sink;
  LineOutput standardError{STDERR_FILENO};

  std::uint32_t levelsOf(std::string_view name) const {
    const auto it = selected.find(name);
    return it == selected.end() ? 0 : it->second;
  }

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

}  // namespace

TraceHandle& TraceHandle::instance(std::string_view name) {
  Facility& facility = Facility::instance();
  std::unique_ptr<TraceHandle>& handle = facility.handles[Kestor::String(name)];
  if (!handle) {
    handle.reset(new TraceHandle(Kestor::String(name), facility.levelsOf(name)));
  }
  return *handle;
}

void TraceHandle::emit(unsigned level, const Kestor::String& message) const {
  Facility& facility = Facility::instance();
  const std::string line = fmt::format("{}/{} {}\n", name_, level, message);
  if (facility.sink) {
    facility.sink({line.data(), line.size() - 1});
  } else {
    facility.standardError.write(line);
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
    std::uint32_t& mask = selected[handle];
    if (levels == "off") {
      mask = 0;
    } else {
      mask |= parseLevels(levels, item);
    }
  }
  facility.selected = std::move(selected);
  for (const auto& [name, handle] : facility.handles) handle->levels_ = facility.levelsOf(name);
}

void TraceSettings::reset() {
  Facility& facility = Facility::instance();
  facility.selected.clear();
  for (const auto& [name, handle] : facility.handles) handle->levels_ = 0;
}

void TraceSettings::sinkIs(Sink sink) { Facility::instance().sink = std::move(sink); }

}  // namespace Zarn
