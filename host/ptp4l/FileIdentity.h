#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host::ptp4l {

/// Which file lies at a path. Some file systems give an inode's number to the next file; the time of birth tells them
/// apart, where there is one.
struct FileIdentity {
  std::uint32_t deviceMajor, deviceMinor;
  std::uint64_t inode;
  std::int64_t bornSeconds;
  std::uint32_t bornNanoseconds;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// Of the file itself where the path is a symbolic link. Nothing where there is none, or none that can be seen.
std::optional<FileIdentity> fileAt(const std::string& path);

}  // namespace host::ptp4l
