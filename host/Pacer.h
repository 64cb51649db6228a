#pragma once

#include <cstddef>

namespace host {

/// Counts the work of a function that may have much to do, so that others get their turns in its midst.
class Pacer {
 public:
  Pacer() = default;
  Pacer(const Pacer&) = delete;
  Pacer& operator=(const Pacer&) = delete;
  virtual ~Pacer() = default;

  /// Says that work was done, in units of about 10 ns. After each portion it may return much later, or throw to end
  /// the work. REQUIRES: not called by a destructor or a handler of exceptions.
  void spend(std::size_t units) {
    if (units < left_) {
      left_ -= units;
    } else {
      left_ = portion;
      portionIsOver();
    }
  }

 protected:
  virtual void portionIsOver() = 0;

 private:
  static constexpr std::size_t portion = 4096;

  std::size_t left_ = portion;
};

/// The work that it takes to make, find or destroy a node of a tree.
inline constexpr std::size_t nodeWork = 20;

/// Work that is done at once.
class Unpaced final : public Pacer {
  void portionIsOver() override {}
};

}  // namespace host
