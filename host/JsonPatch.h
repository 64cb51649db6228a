#pragma once

#include "Json.h"
#include "Pacer.h"

namespace host {

/// Changes an object by a merge patch (RFC 7396), an object whose values it takes. Returns the patch that undoes it.
/// REQUIRES: the target holds no null, as what a merge patch makes never does.
Json applyPatch(Json& target, Json& patch, Pacer& pacer);

/// Destroys a value piece by piece. It is null then.
void discard(Json& value, Pacer& pacer);

}  // namespace host
