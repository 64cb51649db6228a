#include "EngineIdentity.h"

#include "NetSnmp.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <spdlog/spdlog.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>

#include "Json.h"

namespace host {
namespace {

// The directives by which the library keeps them itself, beside users and their keys, which are the configuration's
// here.
constexpr char identityToken[] = "oldEngineID";
constexpr char bootsToken[] = "engineBoots";

std::string stateFile() {
  const char* const folder = std::getenv("STATE_DIRECTORY");
  return folder == nullptr || *folder == '\0' ? "" : std::string(folder) + "/engine";
}

// What follows the prefix; empty where the line begins otherwise, or where that is of other characters.
std::string_view valueIn(std::string_view line, const std::string& prefix, const char* characters) {
  if (!line.starts_with(prefix)) return {};
  line.remove_prefix(prefix.size());
  return line.find_first_not_of(characters) == std::string_view::npos ? line : std::string_view{};
}

bool isOurs(std::string_view line) {
  // RFC 3411, SnmpEngineID: 5 to 32 octets. The boots end at 2147483647, at which none ever arrives.
  const auto identity = valueIn(line, std::string(identityToken) + " 0x", "0123456789abcdef");
  const auto boots = valueIn(line, std::string(bootsToken) + " ", "0123456789");
  return (identity.size() >= 2 * 5 && identity.size() <= 2 * 32 && identity.size() % 2 == 0) ||
         (!boots.empty() && boots.size() <= 9);
}

}  // namespace

void recallEngineIdentity() {
  const std::string path = stateFile();
  if (path.empty()) return;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (isOurs(line)) {
      netsnmp_config_remember(line.data());
    } else {
      spdlog::warn("{}: {} is neither an engine ID nor a number of starts, and left out", path, inQuotes(line));
    }
  }
}

void keepEngineIdentity() {
  const std::string path = stateFile();
  if (path.empty()) return;
  std::size_t length = 0;
  u_char* const identity = snmpv3_generate_engineID(&length);
  if (identity == nullptr) return;
  const std::string unfinished = path + ".new";
  std::ofstream file(unfinished);
  file << fmt::format("{} 0x{:02x}\n{} {}\n", identityToken, fmt::join(std::span(identity, length), ""), bootsToken,
                      snmpv3_local_snmpEngineBoots());
  std::free(identity);
  file.close();
  std::error_code error;
  if (!file) error.assign(errno, std::generic_category());
  if (!error) std::filesystem::rename(unfinished, path, error);
  if (error)
    spdlog::warn("{}: {}; managers that use SNMPv3 will find another engine at the next start", path, error.message());
}

}  // namespace host
