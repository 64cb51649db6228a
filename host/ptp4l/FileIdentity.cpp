#include "FileIdentity.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace host::ptp4l {

std::optional<FileIdentity> fileAt(const std::string& path) {
  struct statx status {};
  if (statx(AT_FDCWD, path.c_str(), 0, STATX_INO | STATX_BTIME, &status) != 0) return {};
  return FileIdentity{status.stx_dev_major, status.stx_dev_minor, status.stx_ino, status.stx_btime.tv_sec,
                      status.stx_btime.tv_nsec};
}

}  // namespace host::ptp4l
