#include "ptp4l/NetworkNamespace.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "ptp4l/UnixAddress.h"

namespace host::ptp4l {
namespace {

class NetworkNamespaceTest : public testing::Test {
 protected:
  NetworkNamespaceTest() {
    char name[] = "/tmp/network-namespace-XXXXXX";
    if (mkdtemp(name) == nullptr) throw std::runtime_error("mkdtemp");
    directory = name;
    path = directory + "/ptp 4l";
  }
  ~NetworkNamespaceTest() override {
    if (fd >= 0) close(fd);
    std::filesystem::remove_all(directory);
  }
  void bindSocket() {
    fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    const sockaddr_un address = unixAddress(path);
    ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  }

  std::string directory;
  std::string path;
  int fd = -1;
};

TEST_F(NetworkNamespaceTest, ASocketThatWasMadeHereIsOfThisNamespaceByWhateverPath) {
  bindSocket();
  EXPECT_TRUE(isSocketOfThisNetworkNamespace(path));
  std::filesystem::create_directory_symlink(directory, directory + "/run");
  std::filesystem::create_symlink(path, directory + "/other");
  EXPECT_TRUE(isSocketOfThisNetworkNamespace(directory + "/run/ptp 4l"));
  EXPECT_TRUE(isSocketOfThisNetworkNamespace(directory + "/other"));
}

TEST_F(NetworkNamespaceTest, AFileThatIsNoSocketOfThisNamespaceIsNot) {
  EXPECT_FALSE(isSocketOfThisNetworkNamespace(path)) << "it does not exist";
  bindSocket();
  EXPECT_FALSE(isSocketOfThisNetworkNamespace(directory));
  std::filesystem::rename(path, path + ".old");
  EXPECT_FALSE(isSocketOfThisNetworkNamespace(path));
}

// Another thread's namespace goes with the thread, the socket does not.
TEST_F(NetworkNamespaceTest, ASocketOfAnotherNamespaceIsNot) {
  bool permitted = true;
  std::thread([&] {
    permitted = unshare(CLONE_NEWNET) == 0;
    if (permitted) bindSocket();
  }).join();
  if (!permitted) GTEST_SKIP() << "network namespaces are not permitted here";
  EXPECT_FALSE(isSocketOfThisNetworkNamespace(path));
}

}  // namespace
}  // namespace host::ptp4l
