#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace test {

/// A directory of its own, which goes with all that is in it.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no directory " + path_);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }

 private:
  std::string path_ = "/tmp/ptpsnmp-test-XXXXXX";
};

}  // namespace test
