#include "SlicedTask.h"

#include <utility>

namespace host {

SlicedTask::SlicedTask(Work work) : work_(std::move(work)), fiber_([this] { work_(*this); }) {}

void SlicedTask::run(const Enough& enough) {
  if (!running_) return;
  enough_ = &enough;
  running_ = false;  // also where the work throws
  fiber_.resume();
  running_ = fiber_.isSuspended();
}

void SlicedTask::portionIsOver() {
  if ((*enough_)()) fiber_.suspend();
}

}  // namespace host
