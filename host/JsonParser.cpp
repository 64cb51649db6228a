#include <fmt/format.h>

#include <iterator>
#include <optional>

#include "Json.h"
#include "JsonPatch.h"

namespace host {
namespace {

// Parsing needs no stack for each level, but merging and destroying do. A status document has five levels.
constexpr std::size_t maxDepth = 16;
// The parser converts a number, and puts all since the last name, text or number into words for a message, in one go.
constexpr std::size_t maxTokenBytes = std::size_t{16} << 10;

constexpr std::size_t byteWork = 2;
constexpr std::size_t numberWork = 100;  // at most: one near the ends of the range

// The library's text without its tag and without the line, which is always 1 in a text of one line.
std::string reasonOf(const Json::exception& error) {
  std::string_view reason = error.what();
  for (const std::string_view noise : {"] ", "parse error at line 1, "}) {
    const std::size_t at = reason.find(noise);
    if (at != std::string_view::npos) reason.remove_prefix(at + noise.size());
  }
  return printable(reason);
}

/// The text as the parser takes it: byte by byte.
class PacedText {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  /// All copies of an iterator share this.
  struct Progress {
    Pacer& pacer;
    std::size_t sinceToken = 0;  ///< bytes since the last name, text or number
  };

  PacedText(const char* at, Progress& progress) : at_(at), progress_(&progress) {}

  reference operator*() const { return *at_; }
  PacedText& operator++() {
    ++at_;
    progress_->pacer.spend(byteWork);
    if (++progress_->sinceToken > maxTokenBytes) {
      throw DocumentError(fmt::format("a name, text, number or gap has more than {} bytes", maxTokenBytes));
    }
    return *this;
  }
  friend bool operator==(const PacedText& a, const PacedText& b) { return a.at_ == b.at_; }

 private:
  const char* at_;
  Progress* progress_;
};

/// Makes the document, and refuses what JSON itself permits and a status document does not. The library's own maker
/// asks nobody about names, and with a callback it looks through all members of an object after each object among them.
class DocumentMaker final : public nlohmann::json_sax<Json> {
 public:
  DocumentMaker(Json& root, PacedText::Progress& progress) : next_(&root), progress_(progress) {}

  /// Why the text is not JSON, if it is not.
  const std::optional<std::string>& error() const { return error_; }

  bool start_object(std::size_t) override { return open(Json::object()); }
  bool start_array(std::size_t) override { return open(Json::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }
  bool key(string_t& name) override {
    progress_.sinceToken = 0;
    progress_.pacer.spend(nodeWork);
    const auto [member, isNew] = open_.back()->get_ref<Json::object_t&>().try_emplace(name);
    if (!isNew) throw DocumentError(fmt::format("{} stands twice in one object", inQuotes(name)));
    next_ = &member->second;
    return true;
  }

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return addToken(value); }
  bool number_unsigned(number_unsigned_t value) override { return addToken(value); }
  bool number_float(number_float_t value, const string_t&) override {
    progress_.pacer.spend(numberWork);
    return addToken(value);
  }
  bool string(string_t& value) override { return addToken(std::move(value)); }
  bool binary(binary_t&) override { return false; }
  bool parse_error(std::size_t, const std::string&, const Json::exception& error) override {
    error_ = reasonOf(error);
    return false;
  }

 private:
  bool open(Json container) {
    if (open_.size() == maxDepth) throw DocumentError(fmt::format("nested deeper than {} levels", maxDepth));
    open_.push_back(&put(std::move(container)));
    return true;
  }
  bool close() {
    open_.pop_back();
    return true;
  }

  Json& place() {
    if (open_.empty() || open_.back()->is_object()) return *next_;
    auto& elements = open_.back()->get_ref<Json::array_t&>();
    if (elements.empty()) {
      elements.emplace_back();
    } else {
      discard(elements.front(), progress_.pacer);
    }
    return elements.front();
  }
  Json& put(Json value) { return place() = std::move(value); }
  bool add(Json value) {
    put(std::move(value));
    return true;
  }
  bool addToken(Json value) {
    progress_.sinceToken = 0;
    return add(std::move(value));
  }

  std::vector<Json*> open_;  ///< the containers around what comes next, from the outermost
  Json* next_;               ///< where it goes, unless an array is around it
  PacedText::Progress& progress_;
  std::optional<std::string> error_;
};

}  // namespace

void parseJson(std::string_view text, Json& result, Pacer& pacer) {
  // The parser takes a NUL for the end of the text and would ignore what follows.
  if (text.find('\0') != std::string_view::npos) throw DocumentError("not JSON: it contains a NUL byte");
  PacedText::Progress progress{pacer};
  DocumentMaker maker(result, progress);
  Json::sax_parse(PacedText(text.data(), progress), PacedText(text.data() + text.size(), progress), &maker);
  if (maker.error()) throw DocumentError(fmt::format("not JSON: {}", *maker.error()));
}

Json parseJson(std::string_view text) {
  Json result;
  Unpaced pacer;
  parseJson(text, result, pacer);
  return result;
}

}  // namespace host
