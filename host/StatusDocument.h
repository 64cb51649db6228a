#pragma once

#include <string>
#include <vector>

#include "Json.h"
#include "Pacer.h"
#include "StatusSnapshot.h"

namespace host {

/// Reads a status document (docs/status-document.md), piece by piece, into an empty snapshot. Throws DocumentError
/// where a member is unknown, missing, of a wrong type or out of range, such as `defaultDS.priority1: 256 is out of
/// range (0 to 255)`; part of it is in the snapshot then. Of more than 65,535 interfaces those that a port
/// uses are kept.
void readSnapshot(const Json& document, StatusSnapshot& snapshot, Pacer& pacer);
/// The same, at once.
StatusSnapshot snapshotFromDocument(const Json& document);

/// Empties a snapshot piece by piece.
void discard(StatusSnapshot& snapshot, Pacer& pacer);

/// The path of every member that a document may have, as `ports.*.mibData.packetsSent`; `*` stands for any
/// key.
std::vector<std::string> statusDocumentFields();

}  // namespace host
