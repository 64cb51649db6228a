#include "SnmpdAccess.h"

#include "NetSnmp.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>

namespace host {
namespace {

using Line = SnmpdConfiguration::Line;
using Shows = SnmpdAccess::Shows;
using Oid = std::vector<oid>;

const Oid ptpSubtree{1, 3, 6, 1, 2, 1, 241};
const Oid ptpObjects{1, 3, 6, 1, 2, 1, 241, 1};  // below it are all tables

bool isWithin(const Oid& child, const Oid& parent) {
  return child.size() >= parent.size() && std::equal(parent.begin(), parent.end(), child.begin());
}

// A name other than iso's may be known to snmpd, by the MIBs that it has loaded.
std::optional<Oid> oidOf(const std::string& text) {
  const bool hasDot = text.starts_with('.');
  if (!hasDot && text.find_first_not_of("0123456789.") != std::string::npos) return {};
  Oid subtree(MAX_OID_LEN - 1);  // a view's has its length before it
  std::size_t length = subtree.size();
  if (read_objid((hasDot ? text : "." + text).c_str(), subtree.data(), &length) == 0) return {};
  subtree.resize(length);
  return subtree;
}

// One line "view NAME included|excluded SUBTREE [MASK]".
struct Family {
  std::string place;
  Oid subtree;
  vacm_viewEntry entry{};
};

class View {
 public:
  void add(Family family) {
    families_.push_back(std::move(family));
    for (std::size_t i = 1; i < families_.size(); ++i) families_[i - 1].entry.next = &families_[i].entry;
  }
  void addUntold() { untold_ = true; }

  // A part of the tables may be shown by a family of its own.
  Shows shows() {
    if (untold_) return Shows::untold;
    if (isIncluded(ptpObjects)) return Shows::some;
    const bool some = std::any_of(families_.begin(), families_.end(), [this](const Family& family) {
      return isWithin(family.subtree, ptpSubtree) && isIncluded(family.subtree);
    });
    return some ? Shows::some : Shows::nothing;
  }

  std::vector<std::string> hiding() const {
    std::vector<std::string> places;
    for (const Family& family : families_) {
      const bool hides = family.entry.viewType == SNMP_VIEW_EXCLUDED && isWithin(family.subtree, ptpSubtree);
      if (hides) places.push_back(family.place);
    }
    return places;
  }

 private:
  // The library's own answer. Of two families for one subtree it takes the first.
  bool isIncluded(const Oid& subtree) {
    if (families_.empty()) return false;
    Oid asked = subtree;
    const auto* const family =
        netsnmp_view_get(&families_.front().entry, "", asked.data(), asked.size(), VACM_MODE_FIND);
    return family != nullptr && family->viewType == SNMP_VIEW_INCLUDED;
  }

  std::vector<Family> families_;
  bool untold_ = false;
};

using Views = std::map<std::string, View>;

// Octets in hex, apart by dots or colons; false where it is none, which makes the library drop the line.
bool readMask(std::istringstream& fields, vacm_viewEntry& entry) {
  std::fill(std::begin(entry.viewMask), std::end(entry.viewMask), 0xff);
  std::string text;
  for (std::string field; fields >> field;) text += field + " ";
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '.' || c == ':'; }, ' ');
  std::istringstream octets(text);
  for (std::string octet; octets >> octet;) {
    unsigned value = 0;
    if (entry.viewMaskLen >= sizeof(entry.viewMask) || std::sscanf(octet.c_str(), "%x", &value) != 1) return false;
    entry.viewMask[entry.viewMaskLen++] = static_cast<u_char>(value);
  }
  return true;
}

// The library takes these fields as they stand, with quotes and all.
void readView(const Line& line, Views& views) {
  std::istringstream fields(line.arguments);
  std::string name, type, subtree;
  fields >> name >> type >> subtree;
  if (!fields || (type != "included" && type != "excluded")) return;
  Family family{line.place(), {}, {}};
  if (!readMask(fields, family.entry)) return;
  const auto known = oidOf(subtree);
  if (!known) return views[name].addUntold();
  family.subtree = *known;
  family.entry.viewType = type == "included" ? SNMP_VIEW_INCLUDED : SNMP_VIEW_EXCLUDED;
  // Both of its texts begin with their lengths. The name is the same for all: each view is a list of its own.
  family.entry.viewSubtree[0] = family.subtree.size();
  std::copy(family.subtree.begin(), family.subtree.end(), family.entry.viewSubtree + 1);
  family.entry.viewSubtreeLen = family.subtree.size() + 1;
  views[name].add(std::move(family));
}

// What follows the source of a community, and the level of a user: nothing, an OID or a view, and a context.
void restrict(SnmpdAccess::Grant& grant, const Line& line, std::size_t position, Views& views) {
  const auto& words = line.words;
  if (words.size() <= position) return;
  const bool named = words[position] == "-V" && words.size() > position + 1;
  const std::size_t context = position + (named ? 2 : 1);
  if (named) {
    grant.view = words[position + 1];
    grant.shows = views[grant.view].shows();
    grant.hiding = views[grant.view].hiding();
  } else if (const auto subtree = oidOf(words[position])) {
    grant.shows = isWithin(ptpObjects, *subtree) || isWithin(*subtree, ptpSubtree) ? Shows::some : Shows::nothing;
  } else {
    grant.shows = Shows::untold;
  }
  const bool everyContext = words.size() <= context || words[context].empty() || words[context] == "*";
  if (!everyContext) grant.shows = Shows::untold;
}

bool permitsReading(std::string types) {
  std::replace_if(
      types.begin(), types.end(), [](char c) { return c == ',' || c == ':' || c == '|'; }, ' ');
  std::istringstream list(types);
  return std::find(std::istream_iterator<std::string>(list), {}, "read") != std::istream_iterator<std::string>{};
}

bool isAny(const Line& line, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&](const char* name) { return line.is(name); });
}

std::optional<SnmpdAccess::Grant> grantOf(const Line& line, Views& views) {
  SnmpdAccess::Grant grant{line.place(), "", Shows::some, {}};
  const bool typed = isAny(line, {"authcommunity", "authuser"});
  if (typed && (line.words.empty() || !permitsReading(line.words[0]))) return {};
  const std::size_t first = typed ? 1 : 0;  // the community, or the user
  if (isAny(line, {"rocommunity", "rocommunity6", "rwcommunity", "rwcommunity6", "authcommunity"})) {
    restrict(grant, line, first + 2, views);
  } else if (isAny(line, {"rouser", "rwuser", "authuser"})) {
    const bool hasModel = line.words.size() > first && line.words[first] == "-s";
    restrict(grant, line, first + (hasModel ? 4 : 2), views);
  } else if (isAny(line, {"access", "authaccess", "authgroup", "setaccess"})) {
    grant.shows = Shows::untold;
  } else {
    return {};
  }
  return grant;
}

}  // namespace

SnmpdAccess snmpdAccess(const SnmpdConfiguration& configuration) {
  Views views;
  for (const Line& line : configuration.lines) {
    if (line.is("view")) readView(line, views);
  }
  SnmpdAccess access;
  for (const Line& line : configuration.lines) {
    if (auto grant = grantOf(line, views)) access.grants.push_back(std::move(*grant));
  }
  return access;
}

}  // namespace host
