#include "JsonPatch.h"

#include <utility>

namespace host {
namespace {

using Members = Json::object_t;

// `undo` is null where nothing need be undone: below what is new.
void merge(Members& target, Members& patch, Members* undo, Pacer& pacer);

void change(Json& member, Json& value, Json* undo, Pacer& pacer) {
  if (value.is_object() && member.is_object()) {
    Members* undoMembers = nullptr;
    if (undo != nullptr) undoMembers = (*undo = Json::object()).get_ptr<Members*>();
    merge(member.get_ref<Members&>(), value.get_ref<Members&>(), undoMembers, pacer);
    return;
  }
  if (undo != nullptr) *undo = std::move(member);
  if (value.is_object()) {
    member = Json::object();
    merge(member.get_ref<Members&>(), value.get_ref<Members&>(), nullptr, pacer);
  } else {
    member = std::move(value);
  }
}

void merge(Members& target, Members& patch, Members* undo, Pacer& pacer) {
  for (auto& [name, value] : patch) {
    pacer.spend(nodeWork);
    const bool removes = value.is_null();
    auto member = target.find(name);
    if (removes && member == target.end()) continue;
    if (member == target.end()) member = target.try_emplace(name).first;
    change(member->second, value, undo != nullptr ? &(*undo)[name] : nullptr, pacer);
    if (removes) target.erase(member);
  }
}

}  // namespace

Json applyPatch(Json& target, Json& patch, Pacer& pacer) {
  Json undo = Json::object();
  merge(target.get_ref<Members&>(), patch.get_ref<Members&>(), undo.get_ptr<Members*>(), pacer);
  return undo;
}

void discard(Json& value, Pacer& pacer) {
  if (value.is_object()) {
    auto& members = value.get_ref<Members&>();
    while (!members.empty()) {
      pacer.spend(nodeWork);
      discard(members.begin()->second, pacer);
      members.erase(members.begin());
    }
  } else if (value.is_array()) {
    for (Json& element : value) discard(element, pacer);
  }
  value = nullptr;
}

}  // namespace host
