#pragma once

#include <string>

namespace host {

enum class Verdict { works, partly, fails };

/// What a check says on standard output: a line for each thing, and below it what mends it.
class CheckReport {
 public:
  void add(Verdict verdict, const std::string& thing, const std::string& text, const std::string& mend = "");
  /// Counts what another process has printed.
  void addFailure() { failed_ = true; }
  bool failed() const { return failed_; }

 private:
  bool failed_ = false;
};

}  // namespace host
