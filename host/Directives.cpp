#include "Directives.h"

#include "NetSnmp.h"

#include <algorithm>
#include <charconv>

#include "Zarn/Exception.h"
#include "Zarn/Trace.h"

namespace host {
namespace {

// The configuration reader's callbacks carry no argument of ours.
Directives latest;

constexpr char sourceToken[] = "ptpSource";
constexpr char pollToken[] = "ptpPoll";
constexpr char traceToken[] = "ptpTrace";

// What the line is refused for, which the engine logs with file and line.
std::string refused(const char* token, const std::string& why) {
  std::string text = std::string(token) + ": " + why;
  config_perror(text.c_str());
  return text;
}

void readSource(const char* token, char* line) {
  std::string source = valueOf(line);
  const std::string complaint = complaintAboutSource(source);
  if (complaint.empty()) {
    latest.source = std::move(source);
  } else {
    latest.sourceRefused = refused(token, complaint);
  }
}

void readPoll(const char* token, char* line) {
  const std::string text = valueOf(line);
  long milliseconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), milliseconds);
  if (error != std::errc{} || end != text.data() + text.size() || milliseconds < shortestPoll.count() ||
      milliseconds > longestPoll.count()) {
    latest.pollRefused =
        refused(token, "\"" + text + "\" is not a number of milliseconds from " + std::to_string(shortestPoll.count()) +
                           " to " + std::to_string(longestPoll.count()));
    return;
  }
  latest.poll = std::chrono::milliseconds(milliseconds);
}

void readTrace(const char* token, char* line) {
  try {
    Zarn::TraceSettings::select(valueOf(line));
  } catch (const Zarn::RangeException& error) {
    refused(token, error.what());
  }
}

void forgetSource() {
  latest.source.reset();
  latest.sourceRefused.clear();
}
void forgetPoll() {
  latest.poll.reset();
  latest.pollRefused.clear();
}
void forgetTraces() { Zarn::TraceSettings::reset(); }

}  // namespace

std::string valueOf(const char* arguments) {
  constexpr char blanks[] = " \t\r\n";
  std::string text(arguments);
  if (text.starts_with('"') || text.starts_with('\'')) {
    const std::size_t end = text.find(text.front(), 1);
    const std::size_t next = end == std::string::npos ? end : text.find_first_not_of(blanks, end + 1);
    if (end != std::string::npos && (next == std::string::npos || text[next] == '#')) return text.substr(1, end - 1);
  }
  for (const char* comment : {" #", "\t#"}) text.erase(std::min(text.find(comment), text.size()));
  text.erase(text.find_last_not_of(blanks) + 1);
  return text;
}

SourceOptions Directives::sourceOr(const SourceOptions& defaults) const {
  return {source.value_or(defaults.source), poll.value_or(defaults.poll)};
}

DirectiveReader::DirectiveReader() {
  latest = {};
  register_app_config_handler(sourceToken, readSource, forgetSource,
                              "demo|demo:transparent|replay:FILE|ptp4l|ptp4l:SOCKET");
  register_app_config_handler(pollToken, readPoll, forgetPoll, "MILLISECONDS");
  register_app_config_handler(traceToken, readTrace, forgetTraces, "HANDLE/LEVELS,...");
}

DirectiveReader::~DirectiveReader() {
  for (const char* token : {sourceToken, pollToken, traceToken}) unregister_app_config_handler(token);
}

const Directives& DirectiveReader::value() const noexcept { return latest; }

void DirectiveReader::engineSaid(std::string_view message) {
  const auto valueMissing = [message](const std::string& token) {
    return message.find("Blank line following " + token + " token") != std::string_view::npos;
  };
  const bool included = message.find("Included file") != std::string_view::npos;
  if (included && message.find("not found") != std::string_view::npos) latest.sourceRefused = message;
  if (valueMissing(sourceToken)) latest.sourceRefused = std::string(sourceToken) + ": no source is named";
  if (valueMissing(pollToken)) latest.pollRefused = std::string(pollToken) + ": no period is named";
}

}  // namespace host
