#pragma once

#include <string_view>

namespace host {

/// The replay of a built-in demo device, "boundary" or "transparent"; empty where there is no such device.
std::string_view demoDevice(std::string_view name);

}  // namespace host
