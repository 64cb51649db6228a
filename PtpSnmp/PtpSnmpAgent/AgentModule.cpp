#include "PtpSnmpAgent/AgentModule.h"

#include "PtpSnmpAgent/Root.h"

namespace PtpSnmp::Agent {
namespace {

const Zarn::TypeData* const types[] = {&Root::type(), &Agent::type(), &PtpSnmpSm::type()};

}  // namespace

const Zarn::ModuleData PtpSnmpAgentModule{"PtpSnmpAgent", types, {}};

}  // namespace PtpSnmp::Agent
