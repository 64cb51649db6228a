#pragma once

#include <set>
#include <utility>
#include <vector>

#include "Kestor/String.h"

namespace Snmp {

/// What a MIB module enrols with the host: the host calls initHandler once for each SNMP context that it
/// serves.
class HandlerRegistration {
 public:
  virtual ~HandlerRegistration();
  virtual void initHandler(Kestor::String context) = 0;
};

/// Enrols a registration for as long as it lives; a static object of the module, made when the module is
/// loaded.
class AutoRegistree {
 public:
  explicit AutoRegistree(HandlerRegistration* registration);
  AutoRegistree(const AutoRegistree&) = delete;
  AutoRegistree& operator=(const AutoRegistree&) = delete;
  ~AutoRegistree();

 private:
  HandlerRegistration* registration_;
};

/// The registrations enrolled now, in order of enrolment. For the host.
const std::vector<HandlerRegistration*>& handlerRegistrations() noexcept;

/// Announces, or withdraws, a module that serves a context.
void registerMibContext(Kestor::String context, Kestor::String module);
void unregisterMibContext(Kestor::String context, Kestor::String module);

/// The pairs of context and module announced now. For the host.
const std::set<std::pair<Kestor::String, Kestor::String>>& mibContexts() noexcept;

}  // namespace Snmp
