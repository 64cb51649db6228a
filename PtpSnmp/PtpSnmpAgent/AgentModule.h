#pragma once

#include "PtpSnmp/Export.h"
#include "Zarn/TypeData.h"

namespace PtpSnmp::Agent {

/// What the framework learns of the agent: its types. Exported by the module.
PTPSNMP_EXPORT extern const Zarn::ModuleData PtpSnmpAgentModule;

}  // namespace PtpSnmp::Agent
