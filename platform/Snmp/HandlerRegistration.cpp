#include "Snmp/HandlerRegistration.h"

#include <algorithm>

namespace Snmp {
namespace {

// Never destroyed: modules enrol from static constructors and withdraw from static destructors.
std::vector<HandlerRegistration*>& enrolled() noexcept {
  static auto* list = new std::vector<HandlerRegistration*>;
  return *list;
}

std::set<std::pair<Kestor::String, Kestor::String>>& announced() noexcept {
  static auto* contexts = new std::set<std::pair<Kestor::String, Kestor::String>>;
  return *contexts;
}

}  // namespace

HandlerRegistration::~HandlerRegistration() = default;

AutoRegistree::AutoRegistree(HandlerRegistration* registration) : registration_(registration) {
  enrolled().push_back(registration_);
}

AutoRegistree::~AutoRegistree() { std::erase(enrolled(), registration_); }

const std::vector<HandlerRegistration*>& handlerRegistrations() noexcept { return enrolled(); }

void registerMibContext(Kestor::String context, Kestor::String module) {
  announced().emplace(std::move(context), std::move(module));
}

void unregisterMibContext(Kestor::String context, Kestor::String module) {
  announced().erase({std::move(context), std::move(module)});
}

const std::set<std::pair<Kestor::String, Kestor::String>>& mibContexts() noexcept { return announced(); }

}  // namespace Snmp
