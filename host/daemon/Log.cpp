#include "Log.h"

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "Zarn/LineOutput.h"
#include "Zarn/Trace.h"

namespace host {
namespace {

// syslog(3)'s priorities, as sd-daemon(3) has them at the head of a line.
class JournalPriority final : public spdlog::custom_flag_formatter {
 public:
  void format(const spdlog::details::log_msg& message, const std::tm&, spdlog::memory_buf_t& out) override {
    const char priority = message.level >= spdlog::level::critical ? '2'
                          : message.level == spdlog::level::err    ? '3'
                          : message.level == spdlog::level::warn   ? '4'
                          : message.level == spdlog::level::info   ? '6'
                                                                   : '7';
    for (const char c : {'<', priority, '>'}) out.push_back(c);
  }
  std::unique_ptr<spdlog::custom_flag_formatter> clone() const override { return std::make_unique<JournalPriority>(); }
};

// systemd names the journal's stream by device and inode; a descriptor that was redirected since is another one.
bool journalReadsStandardError() {
  const char* const stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  if (stream == nullptr || fstat(STDERR_FILENO, &status) != 0) return false;
  return stream == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

// The log and the traces go through one output, which tells what is missing of either.
using Output = std::shared_ptr<Zarn::LineOutput>;

class LineSink final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 public:
  explicit LineSink(Output output) : output_(std::move(output)) {}

 private:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t text;
    formatter_->format(message, text);
    output_->write({text.data(), text.size()});
  }
  void flush_() override { output_->tellDropped(); }

  const Output output_;
};

}  // namespace

void logToStandardError(const std::string& level) {
  const bool toJournal = journalReadsStandardError();
  const auto output = std::make_shared<Zarn::LineOutput>(STDERR_FILENO, toJournal ? "<4>" : "ptpsnmpd: warning: ");
  auto logger = std::make_shared<spdlog::logger>("ptpsnmpd", std::make_shared<LineSink>(output));
  if (toJournal) {
    auto formatter = std::make_unique<spdlog::pattern_formatter>();
    formatter->add_flag<JournalPriority>('*').set_pattern("%*%v");
    logger->set_formatter(std::move(formatter));
    Zarn::TraceSettings::sinkIs([](std::string_view line) { spdlog::info("{}", line); });
  } else {
    logger->set_pattern("ptpsnmpd: %l: %v");
    Zarn::TraceSettings::sinkIs([output](std::string_view line) { output->write(std::string(line) + '\n'); });
  }
  if (!level.empty()) logger->set_level(spdlog::level::from_str(level));
  // The library's own would write to standard error, and wait for its reader.
  logger->set_error_handler([](const std::string&) {});
  spdlog::set_default_logger(logger);
}

}  // namespace host
