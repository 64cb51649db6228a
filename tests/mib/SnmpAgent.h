#pragma once

#include <string>
#include <variant>
#include <vector>

#include "Varbind.h"

namespace test {

struct Response {
  long errorStatus = 0;
  long errorIndex = 0;
  std::vector<Varbind> varbinds;
};

/// A value to be set: its letter in the library's notation ("i", "u", "c", "C", "s", "x", "o", "t", "a") and its text.
struct Assignment {
  Oid name;
  char type;
  std::string value;
};

/// The agent library as a master agent inside this process, and its managers, on a loopback UDP port: a request is
/// encoded, sent, received, decoded and answered as in an agent, on this one thread.
class SnmpAgent {
 public:
  /// The library can be initialised once, so there is one for the process, made at first use.
  static SnmpAgent& instance();

  Response get(const std::vector<Oid>& names, long version = SNMP_VERSION_2c);
  Response getNext(const std::vector<Oid>& names, long version = SNMP_VERSION_2c);
  Response getBulk(const std::vector<Oid>& names, long repetitions, long nonRepeaters = 0);
  Response set(const std::vector<Assignment>& assignments, long version = SNMP_VERSION_2c);

  /// The varbinds below a subtree, by GETNEXT after GETNEXT from a start; fails the test, and ends, where a name does
  /// not increase.
  std::vector<Varbind> walk(const Oid& start, long version = SNMP_VERSION_2c);
  /// The same by GETBULK.
  std::vector<Varbind> bulkWalk(const Oid& start, long repetitions);

 private:
  SnmpAgent();
  netsnmp_session* open(const std::string& address, long version);
  Response ask(netsnmp_pdu* request, long version);

  netsnmp_session* v1_;
  netsnmp_session* v2c_;
};

/// ptpbaseMIB's subtree.
const Oid& ptpbaseMIB();

}  // namespace test
