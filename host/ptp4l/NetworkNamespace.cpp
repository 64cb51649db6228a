#include "NetworkNamespace.h"

#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <netlink/attr.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace host::ptp4l {
namespace {

struct Free {
  void operator()(nl_sock* netlink) const { nl_socket_free(netlink); }
  void operator()(unsigned char* message) const { std::free(message); }
};

// What the kernel tells of a Unix socket of this network namespace, by the inode of the socket and not of its file.
class SocketDiagnosis {
 public:
  SocketDiagnosis(std::uint32_t inode, std::uint32_t show) {
    const std::unique_ptr<nl_sock, Free> netlink(nl_socket_alloc());
    unix_diag_req request{};
    request.sdiag_family = AF_UNIX;
    request.udiag_states = ~0u;
    request.udiag_ino = inode;
    request.udiag_show = show;
    request.udiag_cookie[0] = request.udiag_cookie[1] = ~0u;  // no further identity
    if (netlink == nullptr || nl_connect(netlink.get(), NETLINK_SOCK_DIAG) < 0 ||
        nl_socket_set_nonblocking(netlink.get()) < 0 ||
        nl_send_simple(netlink.get(), SOCK_DIAG_BY_FAMILY, 0, &request, sizeof(request)) < 0) {
      return;
    }
    receive(*netlink);
  }

  /// False where this namespace has no such socket, or the kernel does not tell.
  bool found() const { return message_ != nullptr; }
  /// The socket that it is connected to; 0 where there is none.
  std::uint32_t peer() const {
    const nlattr* const inode =
        found() ? nlmsg_find_attr(header(), static_cast<int>(sizeof(unix_diag_msg)), UNIX_DIAG_PEER) : nullptr;
    return inode == nullptr || nla_len(inode) < static_cast<int>(sizeof(std::uint32_t)) ? 0 : nla_get_u32(inode);
  }

 private:
  // The kernel has answered before sending returns.
  void receive(nl_sock& netlink) {
    sockaddr_nl sender{};
    unsigned char* received = nullptr;
    const int size = nl_recv(&netlink, &sender, &received, nullptr);
    if (size <= 0) return;
    message_.reset(received);
    if (sender.nl_pid != 0 || !nlmsg_ok(header(), size) || header()->nlmsg_type != SOCK_DIAG_BY_FAMILY ||
        !nlmsg_valid_hdr(header(), sizeof(unix_diag_msg))) {
      message_.reset();
    }
  }
  nlmsghdr* header() const { return reinterpret_cast<nlmsghdr*>(message_.get()); }

  std::unique_ptr<unsigned char, Free> message_;
};

}  // namespace

// Asks for the very socket that answers, and not for one of its path: names of sockets are for anybody to choose, also
// such as look like other paths or like several sockets in /proc/net/unix, and files can take each other's place.
bool isPeerOfThisNetworkNamespace(int socket) {
  struct stat status {};
  if (fstat(socket, &status) != 0) return false;
  const std::uint32_t peer = SocketDiagnosis(static_cast<std::uint32_t>(status.st_ino), UDIAG_SHOW_PEER).peer();
  return peer != 0 && SocketDiagnosis(peer, 0).found();
}

}  // namespace host::ptp4l
