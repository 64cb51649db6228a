#include "SnmpdConfiguration.h"

#include "NetSnmp.h"

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr char defaultFolders[] = "/etc/snmp:/usr/share/snmp";
constexpr int deepestInclude = 8;
constexpr char ownSection[] = "[snmpd]";

// Takes the first word off the text, as the library does.
std::string takeWord(const char*& text) {
  std::string word(std::strlen(text) + 1, '\0');
  text = copy_nword_const(text, word.data(), static_cast<int>(word.size()));
  if (text == nullptr) text = "";
  word.resize(std::strlen(word.c_str()));
  return word;
}

std::vector<std::string> wordsOf(const char* text) {
  std::vector<std::string> words;
  while (*text != '\0') words.push_back(takeWord(text));
  return words;
}

class Reader {
 public:
  explicit Reader(SnmpdConfiguration& result) : result_(result) {}

  void readFile(const fs::path& file, bool isOwnSection = true) {
    std::error_code ignored;
    if (depth_ > deepestInclude || !fs::is_regular_file(file, ignored)) return;
    std::ifstream stream(file);
    if (!stream) return result_.unreadable.push_back(file);
    result_.files.push_back(file);
    ++depth_;
    std::string text;
    for (int number = 1; std::getline(stream, text); ++number) readLine({file, number, "", "", {}}, text, isOwnSection);
    --depth_;
  }

 private:
  // A section alone on its line holds for those that follow.
  void readLine(SnmpdConfiguration::Line line, const std::string& text, bool& isOwnSection) {
    const char* rest = skip_white_const(text.c_str());
    if (rest == nullptr) return;
    line.directive = takeWord(rest);
    bool isOwn = isOwnSection;
    if (line.directive.starts_with('[')) {
      isOwn = line.directive == ownSection;
      if (*rest == '\0') isOwnSection = isOwn;
      line.directive = takeWord(rest);
    }
    if (line.directive.empty()) return;
    line.arguments = rest;
    line.arguments.erase(line.arguments.find_last_not_of(" \t\r") + 1);
    // The library looks for an includ- in small letters first.
    if (line.directive.starts_with('i') && line.is("includeFile")) {
      readFile(fs::path(line.file).parent_path() / line.arguments, isOwn);
    } else if (line.directive.starts_with('i') && line.is("includeDir")) {
      readFolder("/" / fs::path(line.arguments), isOwn);  // where a daemon is
    } else if (isOwn) {
      line.words = wordsOf(rest);
      result_.lines.push_back(std::move(line));
    }
  }

  // In the folder's own order, as the library does.
  void readFolder(const fs::path& folder, bool isOwnSection) {
    std::error_code ignored;
    result_.folders.push_back(folder);
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
      const std::string name = entry.path().filename();
      if (!name.starts_with('.') && name.ends_with(".conf")) readFile(entry.path(), isOwnSection);
    }
  }

  SnmpdConfiguration& result_;
  int depth_ = 0;
};

}  // namespace

std::string SnmpdConfiguration::Line::place() const {
  return fmt::format("{}:{}: {} {}", file, number, directive, arguments);
}

bool SnmpdConfiguration::Line::is(const char* name) const { return strcasecmp(directive.c_str(), name) == 0; }

SnmpdConfiguration readSnmpdConfiguration() {
  SnmpdConfiguration result;
  Reader reader(result);
  const char* const path = std::getenv("SNMPCONFPATH");
  std::istringstream folders(path == nullptr ? defaultFolders : path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (result.folder.empty()) result.folder = folder;
    for (const char* const name : {"snmpd.conf", "snmpd.local.conf"}) reader.readFile(fs::path(folder) / name);
  }
  return result;
}

}  // namespace host
