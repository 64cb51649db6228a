#include "Directives.h"

#include "NetSnmp.h"

#include <charconv>

#include "Zarn/Exception.h"
#include "Zarn/Trace.h"

namespace host {
namespace {

// The configuration reader's callbacks carry no argument of ours.
Directives read;

constexpr char sourceToken[] = "ptpSource";
constexpr char pollToken[] = "ptpPoll";
constexpr char traceToken[] = "ptpTrace";

void refuse(const char* token, const std::string& why) {
  const std::string text = std::string(token) + ": " + why;
  config_perror(text.c_str());
}

std::string trimmed(const char* text) {
  std::string value(text);
  value.erase(value.find_last_not_of(" \t\r\n") + 1);
  return value;
}

void readSource(const char* token, char* line) {
  std::string source = trimmed(line);
  const std::string complaint = complaintAboutSource(source);
  if (!complaint.empty()) return refuse(token, complaint);
  read.source = std::move(source);
}

void readPoll(const char* token, char* line) {
  const std::string text = trimmed(line);
  long milliseconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), milliseconds);
  if (error != std::errc{} || end != text.data() + text.size() || milliseconds < shortestPoll.count() ||
      milliseconds > longestPoll.count()) {
    return refuse(token, "\"" + text + "\" is not a number of milliseconds from " +
                             std::to_string(shortestPoll.count()) + " to " + std::to_string(longestPoll.count()));
  }
  read.poll = std::chrono::milliseconds(milliseconds);
}

void readTrace(const char* token, char* line) {
  try {
    Zarn::TraceSettings::select(trimmed(line));
  } catch (const Zarn::RangeException& error) {
    refuse(token, error.what());
  }
}

void forgetSource() { read.source.reset(); }
void forgetPoll() { read.poll.reset(); }
void forgetTraces() { Zarn::TraceSettings::reset(); }

}  // namespace

SourceOptions Directives::sourceOr(const SourceOptions& defaults) const {
  return {source.value_or(defaults.source), poll.value_or(defaults.poll)};
}

DirectiveReader::DirectiveReader() {
  read = {};
  register_app_config_handler(sourceToken, readSource, forgetSource,
                              "demo|demo:transparent|replay:FILE|ptp4l|ptp4l:SOCKET");
  register_app_config_handler(pollToken, readPoll, forgetPoll, "MILLISECONDS");
  register_app_config_handler(traceToken, readTrace, forgetTraces, "HANDLE/LEVELS,...");
}

DirectiveReader::~DirectiveReader() {
  for (const char* token : {sourceToken, pollToken, traceToken}) unregister_app_config_handler(token);
}

const Directives& DirectiveReader::value() const noexcept { return read; }

}  // namespace host
