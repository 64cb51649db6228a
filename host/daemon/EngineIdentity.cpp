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
#include <regex>
#include <span>
#include <string>

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

bool isOurs(const std::string& line) {
  // RFC 3411, SnmpEngineID: 5 to 32 octets. The boots are an INTEGER (0..2147483647).
  static const std::regex known(fmt::format("{} 0x([0-9a-f]{{2}}){{5,32}}|{} [0-9]{{1,9}}", identityToken, bootsToken));
  return std::regex_match(line, known);
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
      spdlog::warn("{}: \"{}\" is neither an engine ID nor a number of starts, and left out", path, line);
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
