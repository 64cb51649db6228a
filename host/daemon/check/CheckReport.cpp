#include "CheckReport.h"

#include <fmt/format.h>

namespace host {

void CheckReport::add(Verdict verdict, const std::string& thing, const std::string& text, const std::string& mend) {
  const char* const word = verdict == Verdict::works ? "ok" : verdict == Verdict::fails ? "FAILS" : "note";
  fmt::print("{:<6} {:<14} {}\n", word, thing, text);
  if (!mend.empty()) fmt::print("{:<21} mend: {}\n", "", mend);
  failed_ = failed_ || verdict == Verdict::fails;
}

}  // namespace host
