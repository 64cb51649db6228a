#pragma once

#include <string>
#include <vector>

#include "Json.h"
#include "StatusSnapshot.h"

namespace host {

/// Reads a status document (docs/status-document.md). Throws DocumentError where a member is unknown,
/// missing, of a wrong type or out of range, such as `defaultDS.priority1: 256 is out of range (0 to 255)`.
StatusSnapshot snapshotFromDocument(const Json& document);

/// The path of every member that a document may have, as `ports.*.mibData.packetsSent`; `*` stands for any
/// key.
std::vector<std::string> statusDocumentFields();

}  // namespace host
