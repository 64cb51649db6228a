#pragma once

#include <string>

namespace host {

/// 0 where somebody takes what is sent to this Unix socket (SOCK_DGRAM, SOCK_STREAM), or the error of the try.
int connectionError(const std::string& path, int type);

/// What stands at a path at which nobody listens.
std::string deadEnd(const std::string& path);

}  // namespace host
