#pragma once

#include "Options.h"

namespace host {

/// Says on standard output, thing by thing, whether the daemon would work with these options, and of what would not,
/// the line or command that mends it; likewise for snmpd, where it is to show the tables. Changes nothing that stands
/// on the machine. Returns the exit status: 0 where everything works.
int check(const Options& options);

}  // namespace host
