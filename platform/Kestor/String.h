#pragma once

#include <string>

namespace Kestor {

/// The string type of entity names, SNMP contexts and attribute texts.
using String = std::string;

}  // namespace Kestor
