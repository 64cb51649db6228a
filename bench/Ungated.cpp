// Preloaded, it takes from ptpsnmpd what it has put before and behind the SNMP library: the gate, the size of answers
// and the bound of work. So that one binary tells what these cost.
#include "NetSnmp.h"

#include <dlfcn.h>

#include <string_view>

extern "C" {

netsnmp_session* snmp_add_full(netsnmp_session* session, netsnmp_transport* transport,
                               int (*preParse)(netsnmp_session*, netsnmp_transport*, void*, int),
                               int (*)(netsnmp_session*, netsnmp_pdu*, u_char*, size_t),
                               int (*postParse)(netsnmp_session*, netsnmp_pdu*, int),
                               int (*)(netsnmp_session*, netsnmp_pdu*, u_char*, size_t*),
                               int (*)(netsnmp_session*, netsnmp_pdu*, u_char**, size_t*, size_t*),
                               int (*)(u_char*, size_t), netsnmp_pdu* (*)(netsnmp_transport*, void*, size_t)) {
  session->callback = handle_snmp_packet;
  return snmp_add(session, transport, preParse, postParse);
}

int netsnmp_inject_handler_before(netsnmp_handler_registration* registration, netsnmp_mib_handler* handler,
                                  const char* before) {
  if (std::string_view(handler->handler_name) == "ptpsnmp_work_bound") {
    netsnmp_handler_free(handler);
    return SNMPERR_SUCCESS;
  }
  const auto library =
      reinterpret_cast<decltype(&netsnmp_inject_handler_before)>(dlsym(RTLD_NEXT, "netsnmp_inject_handler_before"));
  return library(registration, handler, before);
}
}
