#include "MasterTransport.h"

#include "NetSnmp.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#include "StreamTransport.h"

namespace host {
namespace {

constexpr char prefix[] = "ptpsnmpd-master";

// How far the message is that comes in. RFC 2741, 6.1: a header of 20 bytes, whose last four say how many follow, in
// the order of bytes that a flag tells.
class Message {
 public:
  /// How many bytes may be read without those of the next message.
  int missing(int socket) {
    if (received_ == 0 &&
        recv(socket, header_.data(), header_.size(), MSG_PEEK | MSG_DONTWAIT) == ssize_t{headerBytes}) {
      length_ = length();
    }
    const std::size_t missing = (length_ == 0 ? headerBytes : length_) - received_;
    return static_cast<int>(std::min<std::size_t>(missing, std::numeric_limits<int>::max()));
  }

  void received(const void* bytes, int count) {
    const auto* const from = static_cast<const unsigned char*>(bytes);
    if (length_ == 0) std::copy_n(from, count, header_.begin() + static_cast<std::ptrdiff_t>(received_));
    received_ += static_cast<std::size_t>(count);
    if (length_ == 0 && received_ == headerBytes) length_ = length();
    if (received_ == length_) *this = Message();
  }

 private:
  static constexpr std::size_t headerBytes = 20;
  static constexpr unsigned networkOrder = 0x10;

  std::size_t length() const noexcept {
    const bool fromHigh = (header_[2] & networkOrder) != 0;
    std::size_t payload = 0;
    for (unsigned i = 0; i < 4; ++i) payload = payload << 8 | header_[fromHigh ? 16 + i : 19 - i];
    return headerBytes + payload;
  }

  std::array<unsigned char, headerBytes> header_{};
  std::size_t received_ = 0;
  std::size_t length_ = 0;  // 0 as long as the header is not whole
};

using Receive = int (*)(netsnmp_transport*, void*, int, void**, int*);

Receive guardedReceive = nullptr;
Message message;

// What the library calls: only exhausted memory could throw there, and ends the process.

int receiveMessage(netsnmp_transport* transport, void* bytes, int size, void** opaque, int* opaqueLength) noexcept {
  const int most = std::min(size, message.missing(transport->sock));
  const int received = guardedReceive(transport, bytes, most, opaque, opaqueLength);
  if (received > 0) message.received(bytes, received);
  return received;
}

netsnmp_transport* connectToMaster(netsnmp_tdomain_spec* spec) noexcept {
  netsnmp_transport* const transport =
      netsnmp_transport_open_client("agentx", ("unix:" + std::string(spec->target)).c_str());
  if (transport == nullptr) return nullptr;
  guardConnection(*transport);
  guardedReceive = std::exchange(transport->f_recv, receiveMessage);
  message = Message();
  return transport;
}

}  // namespace

std::string guardedMasterAddress(const std::string& socketPath) {
  static const oid noOthersName[] = {0, 0};
  static netsnmp_tdomain domain{};
  domain.name = noOthersName;
  domain.name_length = OID_LENGTH(noOthersName);
  if (domain.prefix == nullptr) {  // the library frees it when it shuts down, and forgets the domain
    domain.prefix = static_cast<const char**>(calloc(2, sizeof(const char*)));
    if (domain.prefix == nullptr) throw std::bad_alloc();
    domain.prefix[0] = prefix;
  }
  domain.f_create_from_tspec = connectToMaster;
  netsnmp_tdomain_register(&domain);
  return std::string(prefix) + ":" + socketPath;
}

}  // namespace host
