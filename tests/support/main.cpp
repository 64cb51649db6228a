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
