#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

#include "EventLoop.h"
#include "PtpMessages.h"

namespace host::ptp4l::test {

/// A clock with a management socket, which says what it is told to.
class FakePtpService {
 public:
  FakePtpService(EventLoop& loop, const std::string& path) : path_(path) {
    unlink(path.c_str());
    fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    if (bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      throw std::runtime_error("cannot bind " + path);
    }
    readable_ = loop.readable(fd_, [this] { serve(); });
  }
  FakePtpService(const FakePtpService&) = delete;
  FakePtpService& operator=(const FakePtpService&) = delete;
  ~FakePtpService() {
    readable_.reset();
    close(fd_);
    unlink(path_.c_str());
  }

  std::uint8_t domain = 0;
  std::uint16_t ports = 1;
  bool silent = false;
  int missedPolls = 0;                 ///< requests for the default data set that it will not answer
  std::set<std::uint16_t> refused;     ///< management ids
  std::optional<Bytes> beforeAnswers;  ///< goes out before each answer
  std::map<std::uint16_t, int> asked;  ///< by management id
  std::set<std::uint8_t> actions;      ///< that requests have asked for
  std::set<std::string> clients;       ///< their socket paths
  std::set<std::uint16_t> set;         ///< management ids that requests wanted to set
  Bytes portData = portDataSet;        ///< of every port, but for its number
  Bytes parentData = parentDataSet;

  /// Tells whoever subscribed last.
  void report(std::uint16_t id, const Bytes& data) {
    Bytes event = subscription_.value();
    putU16(event, at::id, id);
    putU16(event, at::targetPort, id == 0x2004 ? u16(data, 8) : 0);
    putU16(event, at::sequenceId, ++reports_);
    const Bytes bytes = answer(event, data);
    sendto(fd_, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&subscriber_), sizeof(subscriber_));
  }
  bool subscribed() const { return subscription_.has_value(); }

 private:
  void serve() {
    std::array<std::uint8_t, 1500> buffer;
    sockaddr_un client{};
    socklen_t length = sizeof(client);
    auto* from = reinterpret_cast<sockaddr*>(&client);
    const ssize_t size = recvfrom(fd_, buffer.data(), buffer.size(), 0, from, &length);
    if (size < static_cast<ssize_t>(at::data)) return;
    const Bytes request(buffer.begin(), buffer.begin() + size);
    clients.insert(client.sun_path);
    actions.insert(request[at::action]);
    if (silent || request[at::domain] != domain) return;
    if (u16(request, at::id) == 0x2000 && missedPolls > 0) {
      --missedPolls;
      return;
    }
    if (request[at::action] == 1) set.insert(u16(request, at::id));
    if (u16(request, at::id) == 0xc003 && !refused.contains(0xc003)) {
      subscription_ = request;
      subscriber_ = client;
    }
    ++asked[u16(request, at::id)];
    const auto send = [&](const Bytes& bytes) { sendto(fd_, bytes.data(), bytes.size(), 0, from, length); };
    if (beforeAnswers) send(*beforeAnswers);
    send(answerTo(request));
  }

  Bytes answerTo(const Bytes& request) const {
    constexpr std::uint16_t noSuchId = 2;
    const std::uint16_t id = u16(request, at::id);
    if (refused.contains(id)) return refusal(request, noSuchId);
    Bytes data;
    switch (id) {
      case 0x0001: data = clockDescription; break;
      case 0x2000:
        data = defaultDataSet;
        putU16(data, 2, ports);
        data[18] = domain;
        break;
      case 0x2001: data = currentDataSet; break;
      case 0x2002: data = parentData; break;
      case 0x2003: data = timePropertiesDataSet; break;
      case 0x2004:
        data = portData;
        putU16(data, 8, u16(request, at::targetPort));
        break;
      case 0xc003: data.assign(request.begin() + at::data, request.end()); break;
      case 0xc004: data = portProperties; break;
      case 0xc005: data = portStats(); break;
      default: return refusal(request, noSuchId);
    }
    return answer(request, data);
  }

  std::string path_;
  std::optional<Bytes> subscription_;
  sockaddr_un subscriber_{};
  std::uint16_t reports_ = 0;
  int fd_;
  EventLoop::Handle readable_;
};

}  // namespace host::ptp4l::test
