#pragma once

#include "Kestor/Node.h"
#include "Kestor/Ptr.h"
#include "Zarn/RbTreeMap.h"
#include "Zarn/SlabAllocator.h"
#include "Zarn/TypeData.h"

namespace test {

/// A row of the least kind: a number for a key, counted by a tracker of its own.
class Counted final : public Kestor::Node, public Zarn::RbTreeMapHook, public Zarn::SlabAllocated<Counted> {
 public:
  explicit Counted(int key) : key_(key) {}
  const Zarn::TypeData& typeData() const noexcept override {
    static constexpr Zarn::AttributeData attributes[] = {Zarn::attribute<&Counted::key>(257, "key")};
    static constexpr Zarn::TypeData data{"test::Counted", attributes};
    return data;
  }

  const int& key() const noexcept { return key_; }
  static std::size_t live() noexcept { return memAllocationTracker_.live(); }

  inline static Zarn::MemAllocationTracker memAllocationTracker_{"test::Counted"};

 private:
  const int key_;
};

}  // namespace test
