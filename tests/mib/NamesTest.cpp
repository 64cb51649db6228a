// Debuggers, profiles and crash reports name a table's functions; each is there under its own name.
#include <gtest/gtest.h>

#include <set>

#include "Tables.h"

namespace {

using namespace test;

TEST(NamesTest, EachTableHasItsEightFunctions) {
  // tables() takes the address of each by name: a missing one does not link. No two are folded into one.
  std::set<const void*> addresses;
  for (const Table& t : tables()) {
    for (const void* address :
         {reinterpret_cast<const void*>(t.initialize), reinterpret_cast<const void*>(t.handler),
          reinterpret_cast<const void*>(t.getFirst), reinterpret_cast<const void*>(t.getNext),
          reinterpret_cast<const void*>(t.iterationHelper), reinterpret_cast<const void*>(t.makeDataContext),
          reinterpret_cast<const void*>(t.freeDataContext), reinterpret_cast<const void*>(t.freeLoopContextAtEnd)}) {
      EXPECT_NE(address, nullptr);
      addresses.insert(address);
    }
  }
  EXPECT_EQ(addresses.size(), 12U * 8U);
}

TEST(NamesTest, TheEntryPointsTakeTheContextByValue) {
  void (*const init)(Kestor::String) = init_ptpbaseMIB;
  void (*const unregister)(Kestor::String) = unregister_ptpbaseMIB;
  EXPECT_NE(init, unregister);
}

}  // namespace
