#include "PtpSnmp/ModelModule.h"

#include "PtpSnmp/PtpMib.h"

namespace PtpSnmp {
namespace {

const Zarn::TypeData* const types[] = {
    &PtpMib::type(),
    &PtpTableEntry::type(),
    &TransDefaultDSTableEntry::type(),
    &PortTableEntry::type(),
    &PortTransDSTableEntry::type(),
    &SystemTableEntry::type(),
    &SystemDomainTableEntry::type(),
};
const Zarn::EnumData* const enums[] = {&enumData(ClockType{})};

}  // namespace

const Zarn::ModuleData PtpSnmpModule{"PtpSnmp", types, enums};

}  // namespace PtpSnmp
