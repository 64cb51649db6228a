#pragma once

#include "PtpSnmp/Export.h"
#include "Zarn/TypeData.h"

namespace PtpSnmp {

/// What the framework learns of the model: its types and enumerations. Exported by the module.
PTPSNMP_EXPORT extern const Zarn::ModuleData PtpSnmpModule;

}  // namespace PtpSnmp
