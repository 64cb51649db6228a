#include "StatusDocument.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <concepts>

#include "StatusFields.h"
#include "Zarn/Exception.h"

namespace host {
namespace {

struct AnyVisit {};

template <class T>
concept HasFields = requires(T& values, AnyVisit& visit) {
  visitFields(values, visit);
};

/// Where a value stands in its document. It refers to its parent and is put into words for a message only.
class Path {
 public:
  enum class Step { member, key };

  Path() = default;
  Path(const Path& parent, std::string_view name, Step step = Step::member)
      : parent_(&parent), name_(name), step_(step) {}

  std::string text() const {
    if (parent_ == nullptr) return {};
    const std::string before = parent_->text();
    if (step_ == Step::key) return fmt::format("{}[{}]", before, inQuotes(name_));
    return before.empty() ? std::string(name_) : fmt::format("{}.{}", before, name_);
  }

 private:
  const Path* parent_ = nullptr;
  std::string_view name_;
  Step step_ = Step::member;
};

[[noreturn]] void refuse(const Path& path, const std::string& reason) {
  const std::string where = path.text();
  throw DocumentError(where.empty() ? reason : fmt::format("{}: {}", where, reason));
}

[[noreturn]] void refuse(const Path& path, const Json& value, std::string_view expected) {
  refuse(path, fmt::format("{} is not {}", describe(value), expected));
}

const Json::object_t& objectOf(const Json& json, const Path& path) {
  if (!json.is_object()) refuse(path, json, "an object");
  return json.get_ref<const Json::object_t&>();
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

/// What a text of the document stands for, or a refusal where Value's constructor does not take it.
template <class Value>
Value fromText(const Json& json, const Path& path, std::string_view expected) {
  if (!json.is_string()) refuse(path, json, expected);
  const auto& text = json.get_ref<const std::string&>();
  if (std::ranges::any_of(text, isControl)) refuse(path, json, expected);
  try {
    return Value(text);
  } catch (const Zarn::RangeException&) {
    refuse(path, json, expected);
  }
}

/// Reads each kind of value. The overloads stand in one class so that each can call any other.
struct Decoder {
  static void read(const Json& json, const Path& path, bool& value) {
    if (!json.is_boolean()) refuse(path, json, "true or false");
    value = json.get<bool>();
  }

  template <std::integral T>
  static void read(const Json& json, const Path& path, T& value, T least = std::numeric_limits<T>::min(),
                   T most = std::numeric_limits<T>::max()) {
    // Every 64-bit integer is exact as a long double, and a number such as 1e3 is as whole as 1000.
    if (!json.is_number()) refuse(path, json, "a whole number");
    const auto number = json.get<long double>();
    if (std::trunc(number) != number) refuse(path, json, "a whole number");
    if (number < static_cast<long double>(least) || number > static_cast<long double>(most)) {
      refuse(path, fmt::format("{} is out of range ({} to {})", describe(json), least, most));
    }
    value = static_cast<T>(number);
  }

  static void read(const Json& json, const Path& path, Pelor::NetU16& value) {
    std::uint16_t number = 0;
    read(json, path, number);
    value.valueIs(number);
  }

  static void read(const Json& json, const Path& path, Signed16 value) {
    std::int16_t number = 0;
    read(json, path, number);
    value.bits.valueIs(static_cast<std::uint16_t>(number));
  }

  static void read(const Json& json, const Path& path, Nanoseconds value) {
    if (!json.is_number()) refuse(path, json, "a number of nanoseconds");
    const long double scaled = std::nearbyint(json.get<long double>() * 0x1p16L);
    if (scaled < -0x1p63L || scaled >= 0x1p63L) {
      refuse(path, fmt::format("{} is out of range (-140737488355328 to 140737488355327.9999847412109375 ns)",
                               describe(json)));
    }
    value.scaled = static_cast<Ptp::TimeInterval>(scaled);
  }

  template <Zarn::RegisteredEnum E>
  static void read(const Json& json, const Path& path, E& value) {
    const Zarn::EnumData& data = enumData(value);
    std::uint8_t code = 0;
    if (!json.is_string()) {
      read(json, path, code);
    } else if (const auto* found = data.find(std::string_view(json.get_ref<const std::string&>()))) {
      code = found->code;
    } else {
      std::vector<std::string_view> words;
      std::ranges::transform(data.enumerators, std::back_inserter(words), &Zarn::EnumeratorData::name);
      refuse(path, json, fmt::format("one of {}, or a number", fmt::join(words, ", ")));
    }
    value = static_cast<E>(code);
  }

  static void read(const Json& json, const Path& path, Name name) {
    static constexpr std::string_view expected = "a name of 1 to 64 bytes without control characters";
    name.text = fromText<std::string>(json, path, expected);
    if (name.text.empty() || name.text.size() > 64) refuse(path, json, expected);
  }

  static void read(const Json& json, const Path& path, Ptp::ClockIdentity& value) {
    value = fromText<Ptp::ClockIdentity>(json, path, "a clock identity such as \"001122.fffe.334455\"");
  }

  static void read(const Json& json, const Path& path, Ptp::PortIdentity& value) {
    value = fromText<Ptp::PortIdentity>(json, path, "a port identity such as \"001122.fffe.334455-1\"");
  }

  static void read(const Json& json, const Path& path, OwnPortIdentity value) {
    read(json, path, value.identity);
    if (value.identity.portNumber.value() == 0) refuse(path, json, "a port of this clock (1 to 65535)");
  }

  static void read(const Json& json, const Path& path, Pelor::IpGenAddr& value) {
    value = fromText<Pelor::IpGenAddr>(json, path, "an IPv4 or IPv6 address");
  }

  static void read(const Json& json, const Path& path, Ptp::ParentSource& source) {
    if (json.is_string()) {
      read(json, path, source.address);
    } else {
      readFields(json, path, source);
    }
  }

  template <class T>
  static void read(const Json& json, const Path& path, std::optional<T>& value) {
    read(json, path, value.emplace());
  }

  static void read(const Json& json, const Path& path, std::map<Ptp::PortDSKey, PortSnapshot>& ports) {
    std::map<Ptp::PortDSKey, std::string_view> texts;
    for (const auto& [text, member] : objectOf(json, path)) {
      PortSnapshot port;
      read(Json(text), path, OwnPortIdentity{port.values.portIdentity});
      const Ptp::PortDSKey key(port.values.portIdentity);
      if (const auto [other, isNew] = texts.emplace(key, text); !isNew) {
        refuse(path, fmt::format("{} and {} name one port", inQuotes(other->second), inQuotes(text)));
      }
      readFields(member, Path(path, text, Path::Step::key), port);
      if (port.values.name.empty()) port.values.name = port.interface;
      if (port.values.name.empty()) port.values.name = key.stringValue();
      ports.emplace(key, std::move(port));
    }
  }

  static void read(const Json& json, const Path& path, std::map<std::string, std::uint32_t>& ifIndexes) {
    for (const auto& [text, member] : objectOf(json, path)) {
      std::string name;
      read(Json(text), path, Name{name});
      // RFC 2863: an InterfaceIndex is 1 to 2147483647.
      read(member, Path(path, text, Path::Step::key), ifIndexes[name], 1U, 0x7fffffffU);
    }
  }

  template <HasFields T>
  static void read(const Json& json, const Path& path, T& values) {
    readFields(json, path, values);
  }

  template <class T>
  static void readFields(const Json& json, const Path& path, T& values);
};

/// Reads the members of one object, as visitFields() asks for them.
class ObjectReader {
 public:
  ObjectReader(const Json& json, const Path& path) : object_(objectOf(json, path)), path_(path) {}

  template <class T>
  void operator()(std::string_view name, T&& field, Presence presence = Presence::optional) {
    known_.push_back(name);
    const Path path(path_, name);
    if (const auto member = object_.find(name); member != object_.end()) {
      Decoder::read(member->second, path, std::forward<T>(field));
    } else if (presence == Presence::required) {
      refuse(path, "is missing");
    }
  }

  /// A misspelt member must not pass for an absent one.
  void refuseUnknown() const {
    for (const auto& [name, value] : object_) {
      if (std::ranges::find(known_, name) != known_.end()) continue;
      refuse(path_, fmt::format("{} is unknown; known are {}", inQuotes(name), fmt::join(known_, ", ")));
    }
  }

 private:
  const Json::object_t& object_;
  const Path& path_;
  std::vector<std::string_view> known_;
};

template <class T>
void Decoder::readFields(const Json& json, const Path& path, T& values) {
  ObjectReader reader(json, path);
  visitFields(values, reader);
  reader.refuseUnknown();
}

/// Lists the paths of all members that visitFields() names.
class FieldLister {
 public:
  FieldLister(std::string prefix, std::vector<std::string>& paths) : prefix_(std::move(prefix)), paths_(paths) {}

  template <class T>
  void operator()(std::string_view name, T&& field, Presence = Presence::optional) {
    add(prefix_ + std::string(name), field);
  }

 private:
  template <class T>
  void add(const std::string& path, T& field) {
    paths_.push_back(path);
    FieldLister below(path + ".", paths_);
    if constexpr (HasFields<T>) visitFields(field, below);
  }

  template <class T>
  void add(const std::string& path, std::optional<T>& field) {
    add(path, field.emplace());
  }

  template <class Key, class T>
  void add(const std::string& path, std::map<Key, T>& field) {
    paths_.push_back(path);
    add(path + ".*", field[Key()]);
  }

  std::string prefix_;
  std::vector<std::string>& paths_;
};

}  // namespace

StatusSnapshot snapshotFromDocument(const Json& document) {
  StatusSnapshot snapshot;
  Decoder::read(document, Path(), snapshot);
  return snapshot;
}

std::vector<std::string> statusDocumentFields() {
  std::vector<std::string> paths;
  StatusSnapshot snapshot;
  FieldLister lister("", paths);
  visitFields(snapshot, lister);
  return paths;
}

}  // namespace host
