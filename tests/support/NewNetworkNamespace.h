#pragma once

#include <sched.h>

#include <thread>

namespace test {

/// Runs a function in a network namespace of its own, which goes with the thread that it is run by. False, without
/// having run it, where that is not permitted.
template <class Function>
bool inNewNetworkNamespace(Function function) {
  bool permitted = true;
  std::thread([&] {
    permitted = unshare(CLONE_NEWNET) == 0;
    if (permitted) function();
  }).join();
  return permitted;
}

}  // namespace test
