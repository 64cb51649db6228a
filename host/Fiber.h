#pragma once

#include <ucontext.h>

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>

namespace host {

/// A function on a stack of its own, which can be left in its midst and continued, on one thread.
class Fiber {
 public:
  explicit Fiber(std::function<void()> body);
  Fiber(const Fiber&) = delete;
  Fiber& operator=(const Fiber&) = delete;
  /// Ends a suspended body: its objects are destroyed.
  ~Fiber();

  /// Enters the body, where it was suspended or else at its beginning, until it suspends or returns. Throws what the
  /// body throws, which ends it. REQUIRES: not called by the body.
  void resume();
  /// Leaves the body until resume(). Throws where the fiber is destroyed instead. REQUIRES: called by the body, and not
  /// inside of a destructor or a handler: the runtime keeps one list of exceptions for the thread.
  void suspend();
  bool isSuspended() const noexcept { return suspended_; }

 private:
  class Stack;
  enum class Return { expected, never };

  static void enter(unsigned high, unsigned low);
  void runBodies();
  void switchIn();
  void switchOut(Return back);

  const std::function<void()> body_;
  std::unique_ptr<Stack> stack_;  ///< from the first resume() on
  ucontext_t inside_{};
  ucontext_t outside_{};
  bool suspended_ = false;
  bool ending_ = false;
  std::exception_ptr thrown_;
  const void* outsideStack_ = nullptr;  ///< for the address sanitizer, as is the next one
  std::size_t outsideBytes_ = 0;
};

}  // namespace host
