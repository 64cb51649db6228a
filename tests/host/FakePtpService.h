#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <functional>
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
  Bytes identity = clockIdentity;
  bool silent = false;
  int missedPolls = 0;                 ///< requests for the default data set that it will not answer
  std::set<std::uint16_t> refused;     ///< management ids
  std::optional<Bytes> beforeAnswers;  ///< goes out before each answer
  std::map<std::uint16_t, int> asked;  ///< by management id
  std::set<std::uint8_t> actions;      ///< that requests have asked for
  std::set<std::string> clients;       ///< their socket paths
  std::set<std::uint16_t> set;         ///< management ids that requests wanted to set
  Bytes portData = portDataSet;        ///< of every port, but for its identity
  Bytes parentData = parentDataSet;
  /// Changes the data of an answer, by management id and port; what it leaves empty is refused.
  std::function<void(std::uint16_t, std::uint16_t, Bytes&)> edit = [](std::uint16_t, std::uint16_t, Bytes&) {};
  /// Sees each message before it goes out.
  std::function<void(Bytes&)> editMessage = [](Bytes&) {};

  /// Tells whoever subscribed.
  void report(std::uint16_t id, const Bytes& data) {
    for (auto& [sender, subscriber] : subscribers_) {
      Bytes event = subscriber.request;
      putU16(event, at::id, id);
      putU16(event, at::targetPort, id == 0x2004 ? u16(data, 8) : 0);
      putU16(event, at::sequenceId, ++reports_);
      send(answer(event, data), subscriber.address);
    }
  }
  void reportPort(std::uint16_t port) {
    Bytes event = portData;
    std::copy(identity.begin(), identity.end(), event.begin());
    putU16(event, 8, port);
    report(0x2004, event);
  }
  bool subscribed() const { return !subscribers_.empty(); }
  std::size_t subscribers() const { return subscribers_.size(); }

  void serveOnlyWhenTold() { readable_.reset(); }
  /// Answers the next request, if there is one.
  void serve() {
    std::array<std::uint8_t, 1500> buffer;
    sockaddr_un client{};
    socklen_t length = sizeof(client);
    const ssize_t size = recvfrom(fd_, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&client), &length);
    if (size < static_cast<ssize_t>(at::data)) return;
    const Bytes request(buffer.begin(), buffer.begin() + size);
    clients.insert(client.sun_path);
    actions.insert(request[at::action]);
    if (silent || request[at::domain] != domain || request[0] >> 4 != 0) return;
    if (u16(request, at::id) == 0x2000 && missedPolls > 0) {
      --missedPolls;
      return;
    }
    if (request[at::action] == 1) set.insert(u16(request, at::id));
    if (u16(request, at::id) == 0xc003 && !refused.contains(0xc003)) {
      // As ptp4l does: whoever has the identity takes the subscription.
      const auto sender = request.begin() + at::sourceClock;
      subscribers_[Bytes(sender, sender + 10)] = {request, client};
    }
    ++asked[u16(request, at::id)];
    if (beforeAnswers) send(*beforeAnswers, client);
    send(answerTo(request), client);
  }

 private:
  struct Subscriber {
    Bytes request;
    sockaddr_un address;
  };

  void send(Bytes message, const sockaddr_un& client) {
    if (message.size() >= at::data) std::copy(identity.begin(), identity.end(), message.begin() + at::sourceClock);
    editMessage(message);
    sendto(fd_, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&client), sizeof(client));
  }

  Bytes answerTo(const Bytes& request) const {
    constexpr std::uint16_t noSuchId = 2;
    const std::uint16_t id = u16(request, at::id);
    const std::uint16_t port = u16(request, at::targetPort);
    if (refused.contains(id)) return refusal(request, noSuchId);
    Bytes data;
    switch (id) {
      case 0x0001: data = clockDescription; break;
      case 0x2000:
        data = defaultDataSet;
        putU16(data, 2, ports);
        std::copy(identity.begin(), identity.end(), data.begin() + 10);
        data[18] = domain;
        break;
      case 0x2001: data = currentDataSet; break;
      case 0x2002: data = parentData; break;
      case 0x2003: data = timePropertiesDataSet; break;
      case 0x2004: data = portData; break;
      case 0xc003: data.assign(request.begin() + at::data, request.end()); break;
      case 0xc004: data = portProperties; break;
      case 0xc005: data = portStats(); break;
      default: return refusal(request, noSuchId);
    }
    if (id == 0x2004 || id == 0xc004 || id == 0xc005) {
      std::copy(identity.begin(), identity.end(), data.begin());
      putU16(data, 8, port);
    }
    edit(id, port, data);
    return data.empty() ? refusal(request, noSuchId) : answer(request, data);
  }

  std::string path_;
  std::map<Bytes, Subscriber> subscribers_;  ///< by identity
  std::uint16_t reports_ = 0;
  int fd_;
  EventLoop::Handle readable_;
};

}  // namespace host::ptp4l::test
