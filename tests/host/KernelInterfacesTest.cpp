#include "KernelInterfaces.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "NewNetworkNamespace.h"

namespace host {
namespace {

using namespace std::chrono_literals;

template <class Condition>
bool reached(EventLoop& loop, Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  const auto check = loop.every(1ms, [&] {
    if (condition() || std::chrono::steady_clock::now() > deadline) loop.stop();
  });
  loop.run();
  return condition();
}

TEST(KernelInterfaces, AnInterfaceHasTheKernelsIndexAndAnUnknownNameHasNone) {
  EventLoop loop;
  const KernelInterfaces interfaces(loop);
  EXPECT_EQ(interfaces.ifIndex("lo"), if_nametoindex("lo"));
  EXPECT_FALSE(interfaces.ifIndex("no-such-if"));
  EXPECT_FALSE(interfaces.ifIndex(""));
}

TEST(KernelInterfaces, AListThatFailsIsAskedForAgain) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizers need a descriptor when this leaves none";
#endif
  EventLoop loop;
  rlimit files{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
  rlimit none = files;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  int changes = 0;
  const KernelInterfaces interfaces(loop, [&] { ++changes; });
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &files), 0);
  EXPECT_FALSE(interfaces.ifIndex("lo"));
  EXPECT_TRUE(reached(loop, [&] { return interfaces.ifIndex("lo") == if_nametoindex("lo"); }));
  EXPECT_EQ(changes, 1);
}

bool ip(const std::string& arguments) { return std::system(("ip link " + arguments).c_str()) == 0; }

void followInterfaces() {
  EventLoop loop;
  int changes = 0;
  const KernelInterfaces interfaces(loop, [&] { ++changes; });
  EXPECT_EQ(changes, 0);
  ASSERT_TRUE(ip("add first index 40 type veth peer name other"));
  EXPECT_TRUE(reached(loop, [&] { return interfaces.ifIndex("first") == 40u; }));
  EXPECT_GT(changes, 0);
  ASSERT_TRUE(ip("set first name second"));
  EXPECT_TRUE(reached(loop, [&] { return interfaces.ifIndex("second") == 40u; }));
  EXPECT_FALSE(interfaces.ifIndex("first"));
  ASSERT_TRUE(ip("delete second"));
  EXPECT_TRUE(reached(loop, [&] { return !interfaces.ifIndex("second"); }));
  ASSERT_TRUE(ip("add second index 50 type veth peer name other"));
  EXPECT_TRUE(reached(loop, [&] { return interfaces.ifIndex("second") == 50u; }));
}

TEST(KernelInterfaces, InterfacesThatComeChangeAndGoAreFollowed) {
  if (!test::inNewNetworkNamespace(followInterfaces)) GTEST_SKIP() << "network namespaces are not permitted here";
}

}  // namespace
}  // namespace host
