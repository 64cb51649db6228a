#include "LibrarySpy.h"

#include <dlfcn.h>

#include "Snmp/HandlerRegistration.h"

namespace test {
// The function of that name in the libraries behind this program.
template <class Function>
static Function* next(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define PASS_ON(function, ...) test::next(&function, #function)(__VA_ARGS__)

namespace {

void note(const char* call, const netsnmp_handler_registration* registration) {
  LibrarySpy::instance().calls.push_back(std::string(call) + " " + registration->handlerName);
}

Registered describe(const netsnmp_handler_registration& registration, const netsnmp_iterator_info& iterator) {
  const netsnmp_table_registration_info& table = *iterator.table_reginfo;
  Registered seen{registration.handlerName,
                  Oid(registration.rootoid, registration.rootoid + registration.rootoid_len),
                  registration.modes,
                  registration.handler->access_method,
                  registration.my_reg_void,
                  iterator,
                  {},
                  static_cast<unsigned char>(table.number_indexes),
                  table.min_column,
                  table.max_column,
                  *table.valid_columns,
                  {},
                  !Snmp::mibContexts().empty()};
  for (const netsnmp_variable_list* index = table.indexes; index != nullptr; index = index->next_variable) {
    seen.indexTypes.push_back(index->type);
  }
  const unsigned* const list = seen.columns.details.list;
  seen.validColumns.assign(list, list + seen.columns.list_count);
  return seen;
}

}  // namespace

LibrarySpy& LibrarySpy::instance() {
  static LibrarySpy spy;
  return spy;
}

}  // namespace test

extern "C" {

netsnmp_handler_registration* netsnmp_create_handler_registration(const char* name, Netsnmp_Node_Handler* handler,
                                                                  const oid* root, size_t length, int modes) {
  auto* const registration = PASS_ON(netsnmp_create_handler_registration, name, handler, root, length, modes);
  test::note("create", registration);
  return registration;
}

void netsnmp_handler_registration_free(netsnmp_handler_registration* registration) {
  test::note("free", registration);
  PASS_ON(netsnmp_handler_registration_free, registration);
}

int netsnmp_register_table_iterator(netsnmp_handler_registration* registration, netsnmp_iterator_info* iterator) {
  test::LibrarySpy& spy = test::LibrarySpy::instance();
  test::note("register", registration);
  spy.registered.push_back(test::describe(*registration, *iterator));
  if (spy.failRegistration) return MIB_DUPLICATE_REGISTRATION;
  return PASS_ON(netsnmp_register_table_iterator, registration, iterator);
}

int netsnmp_inject_handler(netsnmp_handler_registration* registration, netsnmp_mib_handler* handler) {
  if (std::string(handler->handler_name) == "serialize") {
    test::note("inject", registration);
    if (test::LibrarySpy::instance().failInjection) return SNMPERR_GENERR;
  }
  return PASS_ON(netsnmp_inject_handler, registration, handler);
}

int netsnmp_unregister_handler(netsnmp_handler_registration* registration) {
  test::note("unregister", registration);
  return PASS_ON(netsnmp_unregister_handler, registration);
}

netsnmp_variable_list* snmp_varlist_add_variable(netsnmp_variable_list** list, const oid* name, size_t nameLength,
                                                 u_char type, const void* value, size_t length) {
  test::LibrarySpy& spy = test::LibrarySpy::instance();
  if (spy.varbinds++ == spy.failingVarbind) return nullptr;
  return PASS_ON(snmp_varlist_add_variable, list, name, nameLength, type, value, length);
}

}  // extern "C"
