#include "Fiber.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#include <dlfcn.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace host {
namespace {

// Not a std::exception: what handles errors must not take it for one.
struct Ended {};

// The address sanitizer must know which stack is in use. `kept` is what it keeps for a stack that is left, or null
// where nobody comes back to it.
#if defined(__SANITIZE_ADDRESS__)
void leave(void** kept, const void* nextStack, std::size_t bytes) {
  __sanitizer_start_switch_fiber(kept, nextStack, bytes);
}
void arrive(void* kept, const void** lastStack, std::size_t* bytes) {
  __sanitizer_finish_switch_fiber(kept, lastStack, bytes);
}
// The C library's own: the one that the sanitizer puts before it is for programs that tell it nothing, and says so.
void switchContext(ucontext_t* from, const ucontext_t* to) {
  static const auto switchIt =
      reinterpret_cast<decltype(&swapcontext)>(dlsym(dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD), "swapcontext"));
  switchIt(from, to);
}
#else
void leave(void**, const void*, std::size_t) {}
void arrive(void*, const void**, std::size_t*) {}
void switchContext(ucontext_t* from, const ucontext_t* to) { swapcontext(from, to); }
#endif

}  // namespace

/// Pages are taken as they are used. Below the lowest one nothing can be written, so that an overflow is a fault.
class Fiber::Stack {
 public:
  Stack() : guard_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    begin_ = mmap(nullptr, guard_ + bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (begin_ == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "no room for a stack");
    if (mprotect(lowest(), bytes, PROT_READ | PROT_WRITE) != 0) {
      const int error = errno;
      munmap(begin_, guard_ + bytes);
      throw std::system_error(error, std::generic_category(), "no room for a stack");
    }
  }
  Stack(const Stack&) = delete;
  Stack& operator=(const Stack&) = delete;
  ~Stack() { munmap(begin_, guard_ + bytes); }

  static constexpr std::size_t bytes = std::size_t{256} << 10;
  void* lowest() const { return static_cast<char*>(begin_) + guard_; }

 private:
  const std::size_t guard_;
  void* begin_;
};

Fiber::Fiber(std::function<void()> body) : body_(std::move(body)) {}

Fiber::~Fiber() {
  if (!stack_) return;
  ending_ = true;
  switchIn();
}

void Fiber::resume() {
  if (!stack_) {
    stack_ = std::make_unique<Stack>();
    getcontext(&inside_);
    inside_.uc_stack.ss_sp = stack_->lowest();
    inside_.uc_stack.ss_size = Stack::bytes;
    inside_.uc_link = nullptr;
    // Arguments are ints, and a pointer may be two of them.
    const auto self = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(this));
    makecontext(&inside_, reinterpret_cast<void (*)()>(enter), 2, static_cast<unsigned>(self >> 32),
                static_cast<unsigned>(self));
  }
  switchIn();
  if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
}

void Fiber::suspend() {
  suspended_ = true;
  switchOut(Return::expected);
  suspended_ = false;
  if (ending_) throw Ended();
}

void Fiber::enter(unsigned high, unsigned low) {
  auto* const self = reinterpret_cast<Fiber*>(static_cast<std::uintptr_t>(std::uint64_t{high} << 32 | low));
  arrive(nullptr, &self->outsideStack_, &self->outsideBytes_);
  self->runBodies();
  self->switchOut(Return::never);
}

void Fiber::runBodies() {
  while (!ending_) {
    try {
      body_();
    } catch (const Ended&) {
      return;
    } catch (...) {
      thrown_ = std::current_exception();
    }
    switchOut(Return::expected);
  }
}

void Fiber::switchIn() {
  void* kept = nullptr;
  leave(&kept, stack_->lowest(), Stack::bytes);
  switchContext(&outside_, &inside_);
  arrive(kept, nullptr, nullptr);
}

void Fiber::switchOut(Return back) {
  void* kept = nullptr;
  leave(back == Return::expected ? &kept : nullptr, outsideStack_, outsideBytes_);
  switchContext(&inside_, &outside_);
  arrive(kept, &outsideStack_, &outsideBytes_);
}

}  // namespace host
