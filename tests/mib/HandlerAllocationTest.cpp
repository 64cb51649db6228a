// A handler answers on its own frame: the agent asks hundreds of cells per second, and memory must not come and go for
// each. This program counts every allocation.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "Requests.h"

namespace {
std::size_t allocations = 0;
}  // namespace

// Not inlined: the compiler would take the free() of a new block for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  if (void* const block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }

#if !defined(__SANITIZE_ADDRESS__)
namespace {
std::size_t blocks = 0;
}  // namespace

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) {
  ++blocks;
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  ++blocks;
  return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
  ++blocks;
  return __libc_realloc(block, size);
}
}
#endif

namespace {

using namespace test;

constexpr std::size_t libraryBuffer = sizeof(netsnmp_variable_list::buf);

TEST(HandlerAllocationTest, NoColumnIsAllocatedFor) {
  Device device;
  device.track();
  populateTransparentClock(device);
  for (const Table& t : tables()) {
    Walk walk(t, device);
    ASSERT_TRUE(walk.first()) << t.name;
    for (const unsigned column : t.served) {
      Requests requests(t, MODE_GET);
      requests.add(column, &walk);
      requests.handle();  // what is made once, such as the trace handle, is there by now
      requests[0].requestvb->type = ASN_NULL;
      allocations = 0;
      EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
      EXPECT_EQ(allocations, 0U) << t.name << ' ' << column;
    }
  }
}

TEST(HandlerAllocationTest, RefusalsAllocateNothing) {
  Device device;
  device.track();
  populateTransparentClock(device);
  for (const Table& t : tables()) {
    Walk walk(t, device);
    walk.first();
    for (const int mode : {int{MODE_GET}, int{MODE_SET_RESERVE1}}) {
      Requests requests(t, mode);
      requests.add(1, &walk);
      allocations = 0;
      requests.handle();
      EXPECT_EQ(allocations, 0U) << t.name;
    }
  }
}

#if !defined(__SANITIZE_ADDRESS__)
TEST(HandlerAllocationTest, BesidesThatOnlyTheLibraryTakesABlockForALongValue) {
  Device device;
  device.track();
  populateTransparentClock(device);
  for (const Table& t : tables()) {
    Walk walk(t, device);
    walk.first();
    for (const unsigned column : t.served) {
      Requests requests(t, MODE_GET);
      requests.add(column, &walk);
      requests.handle();
      allocations = 0;
      blocks = 0;
      requests.handle();
      const std::size_t made = blocks - allocations;
      const bool longValue = requests[0].requestvb->val_len > libraryBuffer;
      EXPECT_EQ(made, longValue ? 1U : 0U) << t.name << ' ' << column;
    }
  }
}
#endif

}  // namespace
