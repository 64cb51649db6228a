#include "EngineStart.h"

#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>

#include "DurableFile.h"
#include "Json.h"

namespace host {
namespace {

// The lines of the file are net-snmp's directives for the same.
constexpr std::string_view idToken = "oldEngineID 0x";
constexpr std::string_view bootsToken = "engineBoots ";

constexpr char anotherEngine[] = "managers that use SNMPv3 find another engine at this start";
constexpr char refused[] = "SNMPv3 requests with authentication are refused, since recorded ones could be replayed";

struct Record {
  std::optional<EngineStart> last;
  bool damaged = false;  ///< there is a file, which does not tell
};

std::optional<std::string> idIn(std::string_view line) {
  if (!line.starts_with(idToken)) return {};
  line.remove_prefix(idToken.size());
  if (line.empty() || line.size() % 2 != 0 || line.size() > 2 * 32) return {};  // RFC 3411, SnmpEngineID
  std::string id;
  for (; !line.empty(); line.remove_prefix(2)) {
    unsigned char octet = 0;
    if (std::from_chars(line.data(), line.data() + 2, octet, 16).ptr != line.data() + 2) return {};
    id += static_cast<char>(octet);
  }
  return id;
}

std::optional<std::uint32_t> bootsIn(std::string_view line) {
  if (!line.starts_with(bootsToken)) return {};
  line.remove_prefix(bootsToken.size());
  std::uint32_t boots = 0;
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), boots);
  if (error != std::errc() || end != line.data() + line.size() || boots > mostEngineBoots) return {};
  return boots;
}

// Each line once and nothing else: half a file could stand for a pair that was there already.
Record read(const std::string& path, std::vector<std::string>& notices) {
  std::ifstream file(path);
  if (!file) {
    if (errno == ENOENT) return {};
    notices.push_back(fmt::format("{}: {}", path, std::system_category().message(errno)));
    return {.last = {}, .damaged = true};
  }
  std::optional<std::string> id;
  std::optional<std::uint32_t> boots;
  bool odd = false;
  for (std::string line; std::getline(file, line);) {
    if (!id && (id = idIn(line))) continue;
    if (!boots && (boots = bootsIn(line))) continue;
    notices.push_back(fmt::format("{}: {} is neither the engine ID nor the number of starts", path, inQuotes(line)));
    odd = true;
  }
  if (!odd && id && boots) return {.last = EngineStart{*id, *boots}, .damaged = false};
  notices.push_back(path + ": it does not tell the engine ID and the number of starts");
  return {.last = {}, .damaged = true};
}

bool written(const std::string& path, const EngineStart& start, std::vector<std::string>& notices) {
  std::string text(idToken);
  for (const char octet : start.id) text += fmt::format("{:02x}", static_cast<unsigned char>(octet));
  try {
    replaceDurably(path, fmt::format("{}\n{}{}\n", text, bootsToken, start.boots));
    return true;
  } catch (const std::system_error& error) {
    notices.push_back(fmt::format("{}: {}", path, error.code().message()));
    return false;
  }
}

// The one before the last is the highest that authenticated requests are accepted with.
bool usedUp(const EngineStart& last) { return last.boots + 1 >= mostEngineBoots; }

StartedEngine startConfigured(const std::string& path, const std::string& id) {
  StartedEngine engine{{id, mostEngineBoots}, {}};
  if (path.empty()) {
    engine.notices.emplace_back("the engine ID is configured, and STATE_DIRECTORY names no folder to count starts in");
  } else if (const Record record = read(path, engine.notices); record.damaged) {
    engine.notices.push_back(path + ": remove it, and configure another engine ID");
  } else if (record.last && record.last->id == id && usedUp(*record.last)) {
    engine.notices.push_back(path + ": the starts of this engine ID are used up: configure another one");
  } else {
    const EngineStart next{id, record.last && !usedUp(*record.last) ? record.last->boots + 1 : 1};
    if (written(path, next, engine.notices)) engine.start = next;
  }
  if (engine.start.boots == mostEngineBoots) engine.notices.emplace_back(refused);
  return engine;
}

StartedEngine startOwn(const std::string& path, const std::string& fresh) {
  StartedEngine engine{{fresh, 1}, {}};
  if (path.empty()) return engine;
  const Record record = read(path, engine.notices);
  if (record.last && !usedUp(*record.last)) {
    engine.start = {record.last->id, record.last->boots + 1};
  } else if (record.last) {
    engine.notices.push_back(path + ": the starts of this engine ID are used up");
  }
  if (!written(path, engine.start, engine.notices)) engine.start = {fresh, 1};
  if (!engine.notices.empty()) engine.notices.emplace_back(anotherEngine);
  return engine;
}

}  // namespace

StartedEngine countEngineStart(const std::string& file, const std::string& configured, const std::string& fresh) {
  return configured.empty() ? startOwn(file, fresh) : startConfigured(file, configured);
}

}  // namespace host
