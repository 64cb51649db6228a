#include "ptp4l/NetworkNamespace.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>

#include "NewNetworkNamespace.h"
#include "TemporaryDirectory.h"
#include "UnixAddress.h"

namespace host::ptp4l {
namespace {

class BoundSocket {
 public:
  explicit BoundSocket(const std::string& path) {
    const sockaddr_un address = unixAddress(path);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0) << path;
  }
  BoundSocket(const BoundSocket&) = delete;
  BoundSocket& operator=(const BoundSocket&) = delete;
  ~BoundSocket() { close(fd); }

 private:
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
};

class NetworkNamespaceTest : public testing::Test {
 protected:
  ~NetworkNamespaceTest() override { close(client); }

  void bindElsewhere() {
    if (!test::inNewNetworkNamespace([this] { service.emplace(path); }))
      GTEST_SKIP() << "network namespaces are not permitted here";
  }
  void connectClient() const {
    const sockaddr_un address = unixAddress(path);
    ASSERT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  }

  const test::TemporaryDirectory scratch;
  const std::string& directory = scratch.path();
  const std::string path = directory + "/ptp4l";
  std::optional<BoundSocket> service;
  const int client = socket(AF_UNIX, SOCK_DGRAM, 0);
};

TEST_F(NetworkNamespaceTest, APeerThatWasMadeHereIsOfThisNamespaceWhateverBecameOfItsFile) {
  service.emplace(path);
  connectClient();
  EXPECT_TRUE(isPeerOfThisNetworkNamespace(client));
  std::filesystem::rename(path, path + ".old");
  EXPECT_TRUE(isPeerOfThisNetworkNamespace(client));
}

TEST_F(NetworkNamespaceTest, APeerThatIsNotThereIsNot) {
  EXPECT_FALSE(isPeerOfThisNetworkNamespace(client)) << "not connected";
  service.emplace(path);
  connectClient();
  service.reset();
  EXPECT_FALSE(isPeerOfThisNetworkNamespace(client)) << "its end";
  EXPECT_FALSE(isPeerOfThisNetworkNamespace(-1));
}

TEST_F(NetworkNamespaceTest, WhatIsNoUnixSocketIsNot) {
  const int udp = socket(AF_INET, SOCK_DGRAM, 0);
  EXPECT_FALSE(isPeerOfThisNetworkNamespace(udp));
  close(udp);
}

// The namespace goes, the socket does not.
TEST_F(NetworkNamespaceTest, APeerOfAnotherNamespaceIsNot) {
  bindElsewhere();
  if (IsSkipped()) return;
  connectClient();
  EXPECT_FALSE(isPeerOfThisNetworkNamespace(client));
}

TEST_F(NetworkNamespaceTest, APeerOfAnotherNamespaceIsNotWhateverSocketsThisOneHas) {
  bindElsewhere();
  if (IsSkipped()) return;
  connectClient();
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory);
  // As the kernel lists them, the first is a line with this path at its end, and the second a line of its own.
  const std::string names[] = {"a " + path, "b\n0000000000000000: 00000002 00000000 00000000 0002 01     1 " + path};
  for (const std::string& name : names) {
    std::filesystem::create_directories(std::filesystem::path(name).parent_path());
    const BoundSocket other(name);
    EXPECT_FALSE(isPeerOfThisNetworkNamespace(client)) << name;
  }
  std::filesystem::current_path(before);
}

TEST_F(NetworkNamespaceTest, APeerOfAnotherNamespaceIsNotForALinkToItInPlaceOfASocketHere) {
  bindElsewhere();
  if (IsSkipped()) return;
  connectClient();
  const std::string there = directory + "/here/ptp4l";
  std::filesystem::create_directory(directory + "/here");
  const BoundSocket other(there);
  std::filesystem::remove(there);
  std::filesystem::create_symlink(path, there);
  EXPECT_FALSE(isPeerOfThisNetworkNamespace(client));
}

}  // namespace
}  // namespace host::ptp4l
