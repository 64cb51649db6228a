#pragma once

namespace host {

/// Has a segmentation fault say so on standard error before it ends the process, by its signal and with its core dump
/// as ever: the SNMP library does not look at what malloc gives it, and would leave no word where memory is limited.
/// A handler that is there already, as a sanitizer's, stays.
void faultMessageIs();

}  // namespace host
