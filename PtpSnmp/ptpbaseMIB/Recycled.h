#pragma once

#include <new>
#include <utility>

namespace PtpSnmp::Mib {

/// Objects that come and go two for each varbind. Memory that one leaves is kept for the next, so that a walk asks the
/// heap for as many blocks as one packet needs at a time, and returns when the module is unloaded. For the thread of
/// the agent library alone. Under a sanitizer every block comes from the heap, so that a use after free is seen.
template <class T>
class Recycled {
 public:
  template <class... Args>
  static T* make(Args&&... args) {
    return new (take()) T(std::forward<Args>(args)...);
  }

  static void free(T* object) noexcept {
    if (object == nullptr) return;
    object->~T();
#if defined(__SANITIZE_ADDRESS__)
    ::operator delete(object);
#else
    blocks_.first = new (object) Block{blocks_.first};
#endif
  }

 private:
  struct Block {
    Block* next;
  };
  static_assert(sizeof(T) >= sizeof(Block) && alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);

  struct Blocks {
    ~Blocks() {
      while (first != nullptr) ::operator delete(std::exchange(first, first->next));
    }
    Block* first = nullptr;
  };

  static void* take() {
    if (blocks_.first == nullptr) [[unlikely]] {
      return ::operator new(sizeof(T));
    }
    return std::exchange(blocks_.first, blocks_.first->next);
  }

  static inline Blocks blocks_;
};

}  // namespace PtpSnmp::Mib
