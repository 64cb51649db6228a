#include "SnmpdAccess.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr char ptpSubtree[] = ".1.3.6.1.2.1.241";
constexpr int deepestInclude = 8;

struct Family {
  std::string subtree;
  bool included;
};

using Views = std::map<std::string, std::vector<Family>>;
using Words = std::vector<std::string>;

struct Line {
  std::string file;
  int number;
  std::string text;
  Words words;
};

std::string withDot(const std::string& oid) { return oid.starts_with('.') ? oid : "." + oid; }

bool isWithin(const std::string& oid, const std::string& subtree) {
  return oid == subtree || (oid.starts_with(subtree) && (subtree.ends_with('.') || oid[subtree.size()] == '.'));
}

// RFC 3415, vacmViewTreeFamilyTable: of the families that hold an OID the longest decides. One below the tables shows a
// part of them.
bool showsPtp(const std::vector<Family>& families) {
  std::size_t longest = 0;
  bool shown = false;
  for (const Family& family : families) {
    if (isWithin(family.subtree, ptpSubtree) && family.included) return true;
    if (!isWithin(ptpSubtree, family.subtree) || family.subtree.size() < longest) continue;
    longest = family.subtree.size();
    shown = family.included;
  }
  return shown;
}

Words wordsOf(const std::string& text) {
  std::istringstream stream(text);
  Words words;
  for (std::string word; stream >> word && !word.starts_with('#');) words.push_back(word);
  return words;
}

void readFile(const fs::path& file, int depth, SnmpdAccess& access, std::vector<Line>& lines);

void readFolder(const fs::path& folder, int depth, SnmpdAccess& access, std::vector<Line>& lines) {
  std::error_code ignored;
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    if (entry.path().extension() == ".conf") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const auto& file : files) readFile(file, depth, access, lines);
}

void readFile(const fs::path& file, int depth, SnmpdAccess& access, std::vector<Line>& lines) {
  std::ifstream stream(file);
  if (!stream || depth > deepestInclude) return;
  access.files.push_back(file);
  std::string text;
  for (int number = 1; std::getline(stream, text); ++number) {
    Words words = wordsOf(text);
    if (words.empty()) continue;
    if (words.size() > 1 && words[0] == "includeFile") {
      readFile(file.parent_path() / words[1], depth + 1, access, lines);
    } else if (words.size() > 1 && words[0] == "includeDir") {
      readFolder(file.parent_path() / words[1], depth + 1, access, lines);
    } else {
      lines.push_back({file, number, text, std::move(words)});
    }
  }
}

// From snmpd.conf(5): the view, or an OID, follows the source of a community, and the level of a user.
void restrict(SnmpdAccess::Grant& grant, const Words& words, std::size_t position, const Views& views) {
  if (words.size() <= position) return;
  const bool named = words[position] == "-V" && words.size() > position + 1;
  if (!named) {
    grant.showsPtp = showsPtp({{withDot(words[position]), true}});
    return;
  }
  grant.view = words[position + 1];
  const auto view = views.find(grant.view);
  grant.showsPtp = view != views.end() && showsPtp(view->second);
}

}  // namespace

SnmpdAccess readSnmpdAccess(const std::string& folder) {
  SnmpdAccess access;
  std::vector<Line> lines;
  readFile(fs::path(folder) / "snmpd.conf", 0, access, lines);
  Views views;
  for (const Line& line : lines) {
    if (line.words[0] == "dlmod" && line.words.size() > 1 && line.words[1] == "ptpsnmp") access.loadsModule = true;
    if (line.words[0] != "view" || line.words.size() < 4) continue;
    views[line.words[1]].push_back({withDot(line.words[3]), line.words[2] == "included"});
  }
  for (const Line& line : lines) {
    const std::string& directive = line.words[0];
    SnmpdAccess::Grant grant{line.file, line.number, line.text, "", true};
    if (directive == "rocommunity" || directive == "rocommunity6" || directive == "rwcommunity" ||
        directive == "rwcommunity6") {
      restrict(grant, line.words, 3, views);
    } else if (directive == "rouser" || directive == "rwuser") {
      const bool hasModel = line.words.size() > 1 && line.words[1] == "-s";
      restrict(grant, line.words, hasModel ? 5 : 3, views);
    } else {
      continue;
    }
    access.grants.push_back(std::move(grant));
  }
  return access;
}

}  // namespace host
