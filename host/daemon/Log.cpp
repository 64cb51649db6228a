#include "Log.h"

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

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

}  // namespace

void logToStandardError(const std::string& level) {
  auto logger = spdlog::stderr_logger_st("ptpsnmpd");
  if (journalReadsStandardError()) {
    auto formatter = std::make_unique<spdlog::pattern_formatter>();
    formatter->add_flag<JournalPriority>('*').set_pattern("%*%v");
    logger->set_formatter(std::move(formatter));
    Zarn::TraceSettings::sinkIs([](std::string_view line) { spdlog::info("{}", line); });
  } else {
    logger->set_pattern("ptpsnmpd: %l: %v");
  }
  if (!level.empty()) logger->set_level(spdlog::level::from_str(level));
  spdlog::set_default_logger(logger);
}

}  // namespace host
