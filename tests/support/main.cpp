#include <gtest/gtest.h>

#include "Zarn/MemAllocationTracker.h"

namespace {

// Whatever a test made is gone when the last one has ended.
class NoLiveObjects : public testing::Environment {
 public:
  void TearDown() override {
    for (const Zarn::MemAllocationTracker& tracker : Zarn::MemAllocationTracker::all()) {
      EXPECT_EQ(tracker.live(), 0U) << tracker.type();
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::AddGlobalTestEnvironment(new NoLiveObjects);
  return RUN_ALL_TESTS();
}

// libnl leaks a link's type information now and then; the sanitizer asks here what it shall pass over.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libnl-3.so\nleak:libnl-route-3.so\n"; }
