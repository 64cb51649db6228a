#include "SnmpAgent.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>

#include "TestAgent.h"

namespace test {
namespace {

constexpr char name[] = "ptpbaseMIBTest";

// A port that was free a moment ago; whoever takes it in between makes init_master_agent fail loudly.
std::string freeLoopbackAddress() {
  const int probe = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(probe, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("no loopback port");
  }
  close(probe);
  return fmt::format("udp:127.0.0.1:{}", ntohs(address.sin_port));
}

void addNames(netsnmp_pdu* request, const std::vector<Oid>& names) {
  for (const Oid& each : names) snmp_add_null_var(request, each.data(), each.size());
}

std::vector<Varbind> walkBy(const Oid& start, const std::function<Response(const Oid&)>& step) {
  const Oid& subtree = ptpbaseMIB();
  std::vector<Varbind> cells;
  Oid last = start;
  for (;;) {
    const Response response = step(last);
    if (response.errorStatus == SNMP_ERR_NOSUCHNAME) return cells;  // how v1 says that nothing follows
    EXPECT_EQ(response.errorStatus, SNMP_ERR_NOERROR) << oidText(last);
    if (response.errorStatus != SNMP_ERR_NOERROR || response.varbinds.empty()) return cells;
    for (const Varbind& varbind : response.varbinds) {
      if (varbind.type == "endOfMibView" || !startsWith(varbind.name, subtree)) return cells;
      EXPECT_GT(varbind.name, last) << "not increasing: " << oidText(varbind.name) << " after " << oidText(last);
      if (varbind.name <= last) return cells;
      cells.push_back(varbind);
      last = varbind.name;
    }
  }
}

}  // namespace

const Oid& ptpbaseMIB() {
  static const Oid subtree = parseOid("1.3.6.1.2.1.241");
  return subtree;
}

SnmpAgent& SnmpAgent::instance() {
  static auto* const agent = new SnmpAgent;  // as long as the process: the library is not made to start twice
  return *agent;
}

SnmpAgent::SnmpAgent() {
  const std::string address = freeLoopbackAddress();
  initTestAgent(name, address.c_str());
  if (init_master_agent() != 0) throw std::runtime_error("cannot serve on " + address);
  v1_ = open(address, SNMP_VERSION_1);
  v2c_ = open(address, SNMP_VERSION_2c);
}

netsnmp_session* SnmpAgent::open(const std::string& address, long version) {
  static u_char community[] = "private";
  std::string peer = address;
  netsnmp_session session;
  snmp_sess_init(&session);
  session.version = version;
  session.peername = peer.data();
  session.community = community;
  session.community_len = sizeof community - 1;
  session.timeout = 20'000'000;  // one thread answers itself: a timeout is a failure, however slow the machine
  session.retries = 0;
  netsnmp_session* const opened = snmp_open(&session);
  if (opened == nullptr) throw std::runtime_error("cannot open a session to " + address);
  return opened;
}

Response SnmpAgent::ask(netsnmp_pdu* request, long version) {
  netsnmp_pdu* reply = nullptr;
  const int status = snmp_synch_response(version == SNMP_VERSION_1 ? v1_ : v2c_, request, &reply);
  if (status != STAT_SUCCESS) {
    if (reply != nullptr) snmp_free_pdu(reply);
    throw std::runtime_error("no response");
  }
  Response response{reply->errstat, reply->errindex, {}};
  for (const netsnmp_variable_list* variable = reply->variables; variable != nullptr;
       variable = variable->next_variable) {
    response.varbinds.push_back(fromLibrary(*variable));
  }
  snmp_free_pdu(reply);
  return response;
}

Response SnmpAgent::get(const std::vector<Oid>& names, long version) {
  netsnmp_pdu* const request = snmp_pdu_create(SNMP_MSG_GET);
  addNames(request, names);
  return ask(request, version);
}

Response SnmpAgent::getNext(const std::vector<Oid>& names, long version) {
  netsnmp_pdu* const request = snmp_pdu_create(SNMP_MSG_GETNEXT);
  addNames(request, names);
  return ask(request, version);
}

Response SnmpAgent::getBulk(const std::vector<Oid>& names, long repetitions, long nonRepeaters) {
  netsnmp_pdu* const request = snmp_pdu_create(SNMP_MSG_GETBULK);
  request->max_repetitions = repetitions;
  request->non_repeaters = nonRepeaters;
  addNames(request, names);
  return ask(request, SNMP_VERSION_2c);
}

Response SnmpAgent::set(const std::vector<Assignment>& assignments, long version) {
  netsnmp_pdu* const request = snmp_pdu_create(SNMP_MSG_SET);
  for (const Assignment& each : assignments) {
    if (snmp_add_var(request, each.name.data(), each.name.size(), each.type, each.value.c_str()) != 0) {
      throw std::runtime_error(fmt::format("the library rejects {} {}", each.type, each.value));
    }
  }
  return ask(request, version);
}

std::vector<Varbind> SnmpAgent::walk(const Oid& start, long version) {
  return walkBy(start, [&](const Oid& last) { return getNext({last}, version); });
}

std::vector<Varbind> SnmpAgent::bulkWalk(const Oid& start, long repetitions) {
  return walkBy(start, [&](const Oid& last) { return getBulk({last}, repetitions); });
}

}  // namespace test
