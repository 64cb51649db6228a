#include "Json.h"

#include <fmt/format.h>

#include <set>

namespace host {
namespace {

// Parsing needs no stack for each level, but merging and destroying do. A status document has five levels.
constexpr std::size_t maxDepth = 16;
constexpr std::size_t maxShownBytes = 160;

/// Looks through a text for what JSON itself permits and a status document does not. Not as a callback of the parser
/// that makes the document: where it has one, it looks through all members of an object after each object among them.
class StructureCheck final : public nlohmann::json_sax<Json> {
 public:
  bool start_object(std::size_t) override { return enter(); }
  bool start_array(std::size_t) override { return enter(); }
  bool end_object() override { return leave(); }
  bool end_array() override { return leave(); }
  bool key(string_t& name) override {
    if (!members_.back().insert(name).second) {
      throw DocumentError(fmt::format("{} stands twice in one object", inQuotes(name)));
    }
    return true;
  }

  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  /// Ends the check: the parser finds the error again, and reports it.
  bool parse_error(std::size_t, const std::string&, const Json::exception&) override { return false; }

 private:
  bool enter() {
    if (members_.size() == maxDepth) throw DocumentError(fmt::format("nested deeper than {} levels", maxDepth));
    members_.emplace_back();
    return true;
  }
  bool leave() {
    members_.pop_back();
    return true;
  }

  std::vector<std::set<std::string>> members_;  // of each open container, from the outermost
};

// The library's text without its tag and without the line, which is always 1 in a text of one line.
std::string reasonOf(const Json::exception& error) {
  std::string_view reason = error.what();
  for (const std::string_view noise : {"] ", "parse error at line 1, "}) {
    const std::size_t at = reason.find(noise);
    if (at != std::string_view::npos) reason.remove_prefix(at + noise.size());
  }
  return printable(reason);
}

}  // namespace

Json parseJson(std::string_view text) {
  // The parser takes a NUL for the end of the text and would ignore what follows.
  if (text.find('\0') != std::string_view::npos) throw DocumentError("not JSON: it contains a NUL byte");
  try {
    StructureCheck check;
    Json::sax_parse(text, &check);
    return Json::parse(text);
  } catch (const Json::exception& error) {
    throw DocumentError(fmt::format("not JSON: {}", reasonOf(error)));
  }
}

std::string printable(std::string_view text) {
  std::string shown;
  for (const char c : text.substr(0, maxShownBytes)) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7f) {
      shown += c;
    } else {
      shown += fmt::format("\\x{:02x}", byte);
    }
  }
  if (text.size() > maxShownBytes) shown += "...";
  return shown;
}

std::string inQuotes(std::string_view text) { return fmt::format("\"{}\"", printable(text)); }

std::string describe(const Json& value) {
  if (value.is_string()) return inQuotes(value.get_ref<const std::string&>());
  if (value.is_number_unsigned()) return fmt::format("{}", value.get<std::uint64_t>());
  if (value.is_number_integer()) return fmt::format("{}", value.get<std::int64_t>());
  if (value.is_number_float()) return fmt::format("{}", value.get<long double>());
  if (value.is_boolean()) return value.get<bool>() ? "true" : "false";
  if (value.is_object()) return "an object";
  if (value.is_array()) return "an array";
  return "null";
}

}  // namespace host
