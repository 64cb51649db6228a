#include "ptp4l/ManagementSocket.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

#include "FakePtpService.h"
#include "TemporaryDirectory.h"

namespace host::ptp4l {
namespace {

using test::FakePtpService;

class ManagementSocketTest : public testing::Test {
 protected:
  ManagementSocketTest() {
    setenv("RUNTIME_DIRECTORY", directory.c_str(), 1);
    client.emplace(path);
  }
  ~ManagementSocketTest() override {
    client.reset();
    unsetenv("RUNTIME_DIRECTORY");
  }
  void startService() {
    service.reset();
    service.emplace(loop, path);
  }
  int requestsRead() {
    for (int i = 0; i < 10; ++i) service->serve();
    int requests = 0;
    for (const auto& [id, asked] : service->asked) requests += asked;
    return requests;
  }

  EventLoop loop;
  const ::test::TemporaryDirectory scratch;
  const std::string& directory = scratch.path();
  const std::string path = directory + "/ptp4l";
  std::optional<FakePtpService> service;
  std::optional<ManagementSocket> client;
};

TEST_F(ManagementSocketTest, NothingReachesAnotherServiceThanTheOneThatIsFollowed) {
  startService();
  EXPECT_FALSE(client->followService()) << "the first one replaces nobody";
  EXPECT_FALSE(client->send(GetRequest{}));
  EXPECT_EQ(requestsRead(), 1);
  startService();
  EXPECT_TRUE(client->send(Subscription{}));
  EXPECT_TRUE(client->send(GetRequest{}));
  EXPECT_EQ(requestsRead(), 0);
  EXPECT_TRUE(client->followService()) << "it was replaced";
  EXPECT_FALSE(client->followService()) << "once";
  EXPECT_FALSE(client->send(GetRequest{}));
  EXPECT_EQ(requestsRead(), 1);
}

TEST_F(ManagementSocketTest, AServiceThatIsNotThereIsFollowedWhenItComes) {
  EXPECT_TRUE(client->send(GetRequest{}));
  EXPECT_FALSE(client->followService());
  EXPECT_EQ(client->send(GetRequest{}), std::errc::no_such_file_or_directory);
  startService();
  EXPECT_FALSE(client->followService());
  EXPECT_FALSE(client->send(GetRequest{}));
}

TEST_F(ManagementSocketTest, AServiceWhoseFileIsRemovedIsKept) {
  startService();
  client->followService();
  std::filesystem::remove(path);
  EXPECT_FALSE(client->followService());
  EXPECT_FALSE(client->send(GetRequest{}));
}

TEST_F(ManagementSocketTest, ASocketThatIsMadeAnewStillKnowsItsService) {
  startService();
  client->followService();
  EXPECT_TRUE(client->answerable());
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    if (entry.is_directory()) std::filesystem::remove_all(entry);
  }
  EXPECT_FALSE(client->answerable());
  client->reopen();
  EXPECT_TRUE(client->answerable());
  EXPECT_FALSE(client->followService()) << "the same service";
  EXPECT_FALSE(client->send(GetRequest{}));
  EXPECT_EQ(requestsRead(), 1);
  EXPECT_TRUE(client->receive());
}

}  // namespace
}  // namespace host::ptp4l
