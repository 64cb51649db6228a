#include "Replay.h"

#include <fmt/format.h>

#include <utility>

#include "JsonPatch.h"
#include "StatusDocument.h"

namespace host {
namespace {

using namespace std::chrono_literals;
using Seconds = Replay::Seconds;

constexpr Seconds latest{1e9};

// A line whose time cannot be read is due a moment after the line before it.
constexpr Seconds moment = 1ms;

template <class AnyJson>  // const or not
AnyJson& memberOf(AnyJson& line, const char* name) {
  const auto member = line.find(name);
  if (member == line.end()) throw DocumentError(fmt::format("{}: is missing", name));
  return *member;
}

Seconds timeOf(const Json& line, Seconds before) {
  const Json& at = memberOf(line, "at");
  if (!at.is_number()) throw DocumentError(fmt::format("at: {} is not a number of seconds", describe(at)));
  const Seconds time(at.get<double>());
  if (time < Seconds(0) || time > latest) {
    throw DocumentError(fmt::format("at: {} is out of range (0 to {})", describe(at), latest.count()));
  }
  if (time < before) {
    throw DocumentError(fmt::format("at: {} is earlier than a line before it ({})", describe(at), before.count()));
  }
  return time;
}

Json& statusOf(Json& line) {
  Json& status = memberOf(line, "status");
  if (!status.is_object()) throw DocumentError(fmt::format("status: {} is not an object", describe(status)));
  return status;
}

void refuseUnknown(const Json& line) {
  for (const auto& [name, value] : line.items()) {
    if (name == "at" || name == "status") continue;
    throw DocumentError(fmt::format("{} is unknown; known are at, status", inQuotes(name)));
  }
}

}  // namespace

Replay::Replay(std::string name, std::unique_ptr<std::istream> text, Repeat repeat)
    : name_(std::move(name)),
      reader_(std::move(text)),
      repeat_(repeat),
      reading_([this](Pacer& pacer) { readAhead(pacer); }) {
  reading_.begin();
}

void Replay::read(const Enough& enough) { reading_.run(enough); }

void Replay::read() {
  read([] { return false; });
}

std::optional<Seconds> Replay::due() const {
  if (!next_) return std::nullopt;
  return runStart_ + next_->at;
}

std::optional<std::string> Replay::step(const SnapshotSink& sink) {
  last_ = std::move(*next_);
  next_.reset();
  reading_.begin();
  if (!last_.refusal) publish(last_, sink);
  if (!last_.refusal) return std::nullopt;
  return fmt::format("{}:{}: {}", name_, last_.number, *last_.refusal);
}

void Replay::publish(Line& line, const SnapshotSink& sink) {
  MonotonicCounters counters = counters_;
  if (repeat_ == Repeat::yes) counters.apply(line.snapshot);
  try {
    sink(line.snapshot);
  } catch (const StatusRefused& refusal) {
    line.refusal = refusal.what();
    return;
  }
  counters_ = std::move(counters);
  acceptedAt_ = line.at;
  begun_ = true;
}

void Replay::readAhead(Pacer& pacer) {
  leaveBehind(last_, pacer);
  next_ = readLine(pacer);
  if (!next_ && startOver(pacer)) next_ = readLine(pacer);
}

// All that may be large is emptied piece by piece before it is destroyed.
void Replay::leaveBehind(Line& line, Pacer& pacer) {
  if (line.refusal) {
    Json redo = applyPatch(document_, line.undo, pacer);
    discard(redo, pacer);
  }
  discard(line.undo, pacer);
  discard(line.snapshot, pacer);
  line = Line();
}

std::optional<Replay::Line> Replay::readLine(Pacer& pacer) {
  Line line;
  line.at = acceptedAt_ + moment;
  Json json;
  try {
    std::string text;
    if (!reader_.next(text, pacer)) return std::nullopt;
    decode(text, json, line, pacer);
  } catch (const LineError& error) {
    line.refusal = error.what();
  } catch (const StatusRefused& refusal) {
    line.refusal = refusal.what();
  }
  discard(json, pacer);
  if (line.refusal && !begun_) line.at = Seconds(0);
  line.number = reader_.number();
  return line;
}

void Replay::decode(const std::string& text, Json& json, Line& line, Pacer& pacer) {
  parseJson(text, json, pacer);
  if (!json.is_object()) throw DocumentError(fmt::format("{} is not an object", describe(json)));
  line.at = timeOf(json, acceptedAt_);
  refuseUnknown(json);
  line.undo = applyPatch(document_, statusOf(json), pacer);
  readSnapshot(document_, line.snapshot, pacer);
}

// A run that takes no time cannot be repeated.
bool Replay::startOver(Pacer& pacer) {
  if (repeat_ == Repeat::no || acceptedAt_ == Seconds(0) || !reader_.rewind()) return false;
  runStart_ += std::exchange(acceptedAt_, Seconds(0));
  discard(document_, pacer);
  document_ = Json::object();
  counters_.newRun();
  return true;
}

}  // namespace host
