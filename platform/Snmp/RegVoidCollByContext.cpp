#include "Snmp/RegVoidCollByContext.h"

#include "Zarn/TypeData.h"

namespace Snmp {

const Zarn::TypeData& TableCounters::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Snmp::TableCounters", {}};
  return data;
}

const Zarn::TypeData& RegVoid::typeData() const noexcept {
  static constexpr Zarn::TypeData data{"Snmp::RegVoid", {}};
  return data;
}

const Zarn::TypeData& RegVoidCollByContext::typeData() const noexcept {
  static constexpr Zarn::TypeData data{typeName, {}};
  return data;
}

Kestor::Ptr<RegVoid> RegVoidCollByContext::addRegVoid(const Kestor::String& context, const Kestor::String& table,
                                                      void* data) {
  return records_[{context, table}] = Kestor::make<RegVoid>(data);
}

void RegVoidCollByContext::delRegVoid(const Kestor::String& context, const Kestor::String& table) {
  records_.erase({context, table});
}

Kestor::Ptr<RegVoid> RegVoidCollByContext::regVoid(const Kestor::String& context, const Kestor::String& table) const {
  const auto it = records_.find({context, table});
  return it == records_.end() ? nullptr : it->second;
}

}  // namespace Snmp
