#include "Replay.h"

#include <fmt/format.h>

#include <algorithm>

#include "StatusDocument.h"

namespace host {
namespace {

using namespace std::chrono_literals;
using Seconds = Replay::Seconds;

constexpr Seconds latest{1e9};

// A line whose time cannot be read is due a moment after the line before it.
constexpr Seconds moment = 1ms;

bool isBlank(std::string_view text) { return text.find_first_not_of(" \t\r") == std::string_view::npos; }

const Json& memberOf(const Json& line, const char* name) {
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

const Json& statusOf(const Json& line) {
  const Json& status = memberOf(line, "status");
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
    : name_(std::move(name)), reader_(std::move(text)), repeat_(repeat) {
  readAhead();
}

std::optional<Seconds> Replay::due() const {
  if (!next_) return std::nullopt;
  return runStart_ + next_->at;
}

std::optional<std::string> Replay::step(const SnapshotSink& sink) {
  Line line = std::move(*next_);
  const std::size_t number = line.number;
  const std::optional<std::string> refusal = line.refusal ? line.refusal : publish(line, sink);
  readAhead();
  if (!refusal) return std::nullopt;
  return fmt::format("{}:{}: {}", name_, number, *refusal);
}

std::optional<std::string> Replay::publish(Line& line, const SnapshotSink& sink) {
  MonotonicCounters counters = counters_;
  if (repeat_ == Repeat::yes) counters.apply(line.snapshot);
  try {
    sink(line.snapshot);
  } catch (const StatusRefused& refusal) {
    return refusal.what();
  }
  counters_ = std::move(counters);
  accepted_ = std::move(line);
  begun_ = true;
  return std::nullopt;
}

void Replay::readAhead() {
  next_ = readLine();
  if (!next_ && startOver()) next_ = readLine();
}

std::optional<Replay::Line> Replay::readLine() {
  Line line;
  line.at = accepted_.at + moment;
  try {
    std::string text;
    do {
      if (!reader_.next(text)) return std::nullopt;
    } while (isBlank(text));
    decode(text, line);
  } catch (const LineError& error) {
    line.refusal = error.what();
  } catch (const StatusRefused& refusal) {
    line.refusal = refusal.what();
  }
  if (line.refusal && !begun_) line.at = Seconds(0);
  line.number = reader_.number();
  return line;
}

void Replay::decode(const std::string& text, Line& line) const {
  const Json json = parseJson(text);
  if (!json.is_object()) throw DocumentError(fmt::format("{} is not an object", describe(json)));
  line.at = timeOf(json, accepted_.at);
  refuseUnknown(json);
  line.document = accepted_.document;
  line.document.merge_patch(statusOf(json));
  line.snapshot = snapshotFromDocument(line.document);
}

// A run that takes no time cannot be repeated.
bool Replay::startOver() {
  if (repeat_ == Repeat::no || accepted_.at == Seconds(0) || !reader_.rewind()) return false;
  runStart_ += accepted_.at;
  accepted_ = Line();
  counters_.newRun();
  return true;
}

}  // namespace host
