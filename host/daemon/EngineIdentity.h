#pragma once

namespace host {

/// What managers know of an SNMPv3 engine from one start to the next (RFC 3411, 3.1.1.1 and RFC 3414, 2.2): its
/// snmpEngineID, which they hold their keys by, and snmpEngineBoots, which never falls while that stays.
///
/// Both are kept in the file "engine" of the folder that the service manager names in STATE_DIRECTORY. Without one, or
/// with one that cannot be read, an engine is another at each start: managers that remember it must ask anew.

/// Has the engine that is about to be initialised go on where the last one of this file ended.
void recallEngineIdentity();

/// Writes down what the engine is now, for the next start, so that also a start that is killed counts. To be called as
/// soon as the engine is initialised. A file that cannot be written is logged.
void keepEngineIdentity();

}  // namespace host
