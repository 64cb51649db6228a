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
  Pacer& pacer;

  void read(const Json& json, const Path& path, bool& value) const {
    if (!json.is_boolean()) refuse(path, json, "true or false");
    value = json.get<bool>();
  }

  template <std::integral T>
  void read(const Json& json, const Path& path, T& value, T least = std::numeric_limits<T>::min(),
            T most = std::numeric_limits<T>::max()) const {
    // Every 64-bit integer is exact as a long double, and a number such as 1e3 is as whole as 1000.
    if (!json.is_number()) refuse(path, json, "a whole number");
    const auto number = json.get<long double>();
    if (std::trunc(number) != number) refuse(path, json, "a whole number");
    if (number < static_cast<long double>(least) || number > static_cast<long double>(most)) {
      refuse(path, fmt::format("{} is out of range ({} to {})", describe(json), least, most));
    }
    value = static_cast<T>(number);
  }

  void read(const Json& json, const Path& path, Pelor::NetU16& value) const {
    std::uint16_t number = 0;
    read(json, path, number);
    value.valueIs(number);
  }

  void read(const Json& json, const Path& path, Signed16 value) const {
    std::int16_t number = 0;
    read(json, path, number);
    value.bits.valueIs(static_cast<std::uint16_t>(number));
  }

  void read(const Json& json, const Path& path, Nanoseconds value) const {
    if (!json.is_number()) refuse(path, json, "a number of nanoseconds");
    const long double scaled = std::nearbyint(json.get<long double>() * 0x1p16L);
    if (scaled < -0x1p63L || scaled >= 0x1p63L) {
      refuse(path, fmt::format("{} is out of range (-140737488355328 to 140737488355327.9999847412109375 ns)",
                               describe(json)));
    }
    value.scaled = static_cast<Ptp::TimeInterval>(scaled);
  }

  template <Zarn::RegisteredEnum E>
  void read(const Json& json, const Path& path, E& value) const {
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

  void read(const Json& json, const Path& path, Name name) const {
    static constexpr std::string_view expected = "a name of 1 to 64 bytes without control characters";
    name.text = fromText<std::string>(json, path, expected);
    if (name.text.empty() || name.text.size() > 64) refuse(path, json, expected);
  }

  void read(const Json& json, const Path& path, Ptp::ClockIdentity& value) const {
    value = fromText<Ptp::ClockIdentity>(json, path, "a clock identity such as \"001122.fffe.334455\"");
  }

  void read(const Json& json, const Path& path, Ptp::PortIdentity& value) const {
    value = fromText<Ptp::PortIdentity>(json, path, "a port identity such as \"001122.fffe.334455-1\"");
  }

  void read(const Json& json, const Path& path, OwnPortIdentity value) const {
    read(json, path, value.identity);
    if (value.identity.portNumber.value() == 0) refuse(path, json, "a port of this clock (1 to 65535)");
  }

  void read(const Json& json, const Path& path, Pelor::IpGenAddr& value) const {
    value = fromText<Pelor::IpGenAddr>(json, path, "an IPv4 or IPv6 address");
  }

  void read(const Json& json, const Path& path, Ptp::ParentSource& source) const {
    if (json.is_string()) {
      read(json, path, source.address);
    } else {
      readFields(json, path, source);
    }
  }

  template <class T>
  void read(const Json& json, const Path& path, std::optional<T>& value) const {
    read(json, path, value.emplace());
  }

  void read(const Json& json, const Path& path, std::map<Ptp::PortDSKey, PortSnapshot>& ports) const {
    for (const auto& [text, member] : objectOf(json, path)) {
      PortSnapshot port;
      port.values.portIdentity = portIdentity(text, path);
      const Ptp::PortDSKey key(port.values.portIdentity);
      if (ports.contains(key)) {
        refuse(path, fmt::format("{} and {} name one port", inQuotes(nameOf(key, json, path)), inQuotes(text)));
      }
      readFields(member, Path(path, text, Path::Step::key), port);
      if (port.values.name.empty()) port.values.name = port.interface;
      if (port.values.name.empty()) port.values.name = key.stringValue();
      ports.emplace(key, std::move(port));
    }
  }

  void read(const Json& json, const Path& path, std::map<std::string, std::uint32_t>& ifIndexes) const {
    for (const auto& [text, member] : objectOf(json, path)) {
      pacer.spend(nodeWork);
      std::string name;
      read(Json(text), path, Name{name});
      // RFC 2863: an InterfaceIndex is 1 to 2147483647.
      read(member, Path(path, text, Path::Step::key), ifIndexes[name], 1U, 0x7fffffffU);
    }
  }

  template <HasFields T>
  void read(const Json& json, const Path& path, T& values) const {
    readFields(json, path, values);
  }

  template <class T>
  void readFields(const Json& json, const Path& path, T& values) const;

 private:
  Ptp::PortIdentity portIdentity(const std::string& name, const Path& path) const {
    pacer.spend(nodeWork);
    Ptp::PortIdentity identity;
    read(Json(name), path, OwnPortIdentity{identity});
    return identity;
  }

  /// The first of the names of this port.
  const std::string& nameOf(const Ptp::PortDSKey& key, const Json& ports, const Path& path) const {
    const auto& members = objectOf(ports, path);
    const auto isIt = [&](const auto& member) { return Ptp::PortDSKey(portIdentity(member.first, path)) == key; };
    return std::ranges::find_if(members, isIt)->first;
  }
};

/// Reads the members of one object, as visitFields() asks for them.
class ObjectReader {
 public:
  ObjectReader(const Decoder& decoder, const Json& json, const Path& path)
      : decoder_(decoder), object_(objectOf(json, path)), path_(path) {}

  template <class T>
  void operator()(std::string_view name, T&& field, Presence presence = Presence::optional) {
    decoder_.pacer.spend(nodeWork);
    known_.push_back(name);
    const Path path(path_, name);
    if (const auto member = object_.find(name); member != object_.end()) {
      decoder_.read(member->second, path, std::forward<T>(field));
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
  const Decoder& decoder_;
  const Json::object_t& object_;
  const Path& path_;
  std::vector<std::string_view> known_;
};

template <class T>
void Decoder::readFields(const Json& json, const Path& path, T& values) const {
  ObjectReader reader(*this, json, path);
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

void discard(std::map<std::string, std::uint32_t>& ifIndexes, Pacer& pacer) {
  for (; !ifIndexes.empty(); ifIndexes.erase(ifIndexes.begin())) pacer.spend(nodeWork);
}

// Interfaces that no port uses show nowhere. Where there are more of them than a clock can have ports, the writer is
// spared them.
void leaveOutUnused(StatusSnapshot& snapshot, Pacer& pacer) {
  if (snapshot.interfaces.size() <= std::numeric_limits<std::uint16_t>::max()) return;
  std::map<std::string, std::uint32_t> used;
  for (const auto& [key, port] : snapshot.ports) {
    pacer.spend(nodeWork);
    if (auto node = snapshot.interfaces.extract(port.interface)) used.insert(std::move(node));
  }
  snapshot.interfaces.swap(used);
  discard(used, pacer);
}

}  // namespace

void readSnapshot(const Json& document, StatusSnapshot& snapshot, Pacer& pacer) {
  Decoder{pacer}.read(document, Path(), snapshot);
  leaveOutUnused(snapshot, pacer);
}

StatusSnapshot snapshotFromDocument(const Json& document) {
  StatusSnapshot snapshot;
  Unpaced pacer;
  readSnapshot(document, snapshot, pacer);
  return snapshot;
}

void discard(StatusSnapshot& snapshot, Pacer& pacer) {
  for (; !snapshot.ports.empty(); snapshot.ports.erase(snapshot.ports.begin())) pacer.spend(nodeWork);
  discard(snapshot.interfaces, pacer);
  snapshot = {};
}

std::vector<std::string> statusDocumentFields() {
  std::vector<std::string> paths;
  StatusSnapshot snapshot;
  FieldLister lister("", paths);
  visitFields(snapshot, lister);
  return paths;
}

}  // namespace host
