#include "ptp4l/NetworkNamespace.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "NewNetworkNamespace.h"
#include "TemporaryDirectory.h"
#include "UnixAddress.h"

namespace host::ptp4l {
namespace {

class NetworkNamespaceTest : public testing::Test {
 protected:
  ~NetworkNamespaceTest() override {
    if (fd >= 0) close(fd);
  }
  void bindSocket() {
    fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    const sockaddr_un address = unixAddress(path);
    ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  }

  const test::TemporaryDirectory scratch;
  const std::string& directory = scratch.path();
  const std::string path = directory + "/ptp 4l";
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

// The namespace goes, the socket does not.
TEST_F(NetworkNamespaceTest, ASocketOfAnotherNamespaceIsNot) {
  if (!test::inNewNetworkNamespace([this] { bindSocket(); }))
    GTEST_SKIP() << "network namespaces are not permitted here";
  EXPECT_FALSE(isSocketOfThisNetworkNamespace(path));
}

}  // namespace
}  // namespace host::ptp4l
