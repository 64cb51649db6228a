// Stands in for libFuzzer where the compiler has none: runs each file, or each file of each folder, once.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "Fuzzer.h"

namespace {

using Path = std::filesystem::path;

std::vector<Path> filesOf(const Path& path) {
  if (!std::filesystem::is_directory(path)) return {path};
  std::vector<Path> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::uint8_t> contentOf(const Path& path) {
  std::ifstream file(path, std::ios::binary);
  file.exceptions(std::ios::badbit | std::ios::failbit);
  file.peek();  // an empty file is an input too
  file.exceptions(std::ios::badbit);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

int main(int argc, char** argv) {
  int inputs = 0;
  for (int i = 1; i < argc; ++i) {
    for (const Path& file : filesOf(argv[i])) {
      std::fprintf(stderr, "%s\n", file.c_str());  // the last one said is the one that crashed
      const std::vector<std::uint8_t> content = contentOf(file);
      LLVMFuzzerTestOneInput(content.data(), content.size());
      ++inputs;
    }
  }
  std::printf("%d inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}
