#pragma once

#include <memory>

#include "EventLoop.h"
#include "Options.h"
#include "Source.h"

namespace host {

/// Makes the source that the options name. Throws std::runtime_error where it can never work.
std::unique_ptr<Source> makeSource(EventLoop& loop, const Options& options);

}  // namespace host
