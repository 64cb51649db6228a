#pragma once

#include <string>
#include <string_view>

namespace host {

/// Replaces the content of a file. Afterwards the file holds this text, on the disk, and its owner alone may read it
/// (mode 0600). Uses FILE.new beside it. Blocks until the disk has it all. Throws std::system_error: the file then
/// holds what it held before, or the whole new text, but that may not be on the disk.
void replaceDurably(const std::string& file, std::string_view text);

}  // namespace host
