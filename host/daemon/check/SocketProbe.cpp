#include "SocketProbe.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "UnixAddress.h"

namespace host {

int connectionError(const std::string& path, int type) {
  if (!fitsUnixAddress(path)) return ENAMETOOLONG;
  const sockaddr_un address = unixAddress(path);
  const int fd = socket(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return errno;
  const bool taken = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  const int error = taken ? 0 : errno;
  close(fd);
  return error;
}

// The kernel refuses a connection to a file of any kind alike.
std::string deadEnd(const std::string& path) {
  std::error_code ignored;
  switch (std::filesystem::status(path, ignored).type()) {
    case std::filesystem::file_type::socket: return "a socket that a program which has ended left";
    case std::filesystem::file_type::directory: return "a folder, no socket";
    case std::filesystem::file_type::regular: return "a regular file, no socket";
    default: return "no socket";
  }
}

}  // namespace host
