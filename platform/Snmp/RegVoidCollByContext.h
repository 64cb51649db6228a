#pragma once

#include <map>
#include <utility>

#include "Kestor/Ptr.h"
#include "Kestor/String.h"
#include "Snmp/TableCounters.h"
#include "Zarn/Entity.h"

namespace Snmp {

/// What the host keeps for one table of one context: the object that the table's callbacks read, and the
/// table's counters.
class RegVoid final : public Kestor::Node {
 public:
  explicit RegVoid(void* data) : data_(data), counters_(Kestor::make<TableCounters>()) {}
  const Zarn::TypeData& typeData() const noexcept override;

  void* data() const noexcept { return data_; }
  /// May be null.
  const Kestor::Ptr<TableCounters>& counters() const noexcept { return counters_; }
  void countersIs(Kestor::Ptr<TableCounters> counters) noexcept { counters_ = std::move(counters); }

 private:
  void* data_;
  Kestor::Ptr<TableCounters> counters_;
};

/// The process's records by context and table. A singleton entity, registered under its type's name.
class RegVoidCollByContext final : public Zarn::Entity {
 public:
  static constexpr const char* typeName = "Snmp::RegVoidCollByContext";

  RegVoidCollByContext() : Entity("regVoidCollByContext") {}
  static Kestor::Ptr<Zarn::Entity> factory() { return Kestor::make<RegVoidCollByContext>(); }
  const Zarn::TypeData& typeData() const noexcept override;

  /// Records data for a table and returns the record; an older record of the same table is replaced.
  Kestor::Ptr<RegVoid> addRegVoid(const Kestor::String& context, const Kestor::String& table, void* data);
  void delRegVoid(const Kestor::String& context, const Kestor::String& table);
  /// The record, or null.
  Kestor::Ptr<RegVoid> regVoid(const Kestor::String& context, const Kestor::String& table) const;
  std::size_t size() const noexcept { return records_.size(); }

 private:
  std::map<std::pair<Kestor::String, Kestor::String>, Kestor::Ptr<RegVoid>> records_;
};

}  // namespace Snmp
