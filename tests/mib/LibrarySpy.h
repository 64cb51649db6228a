#pragma once

#include <string>
#include <vector>

#include "Varbind.h"

/// Stands between the code under test and the agent library in the test programs that link it: each call is noted
/// and, unless it is made to fail, passed on.
namespace test {

struct Registered {
  std::string name;
  Oid root;
  int modes;
  Netsnmp_Node_Handler* handler;
  void* record;
  netsnmp_iterator_info iterator;
  std::vector<u_char> indexTypes;
  unsigned char numberIndexes;
  unsigned minColumn;
  unsigned maxColumn;
  netsnmp_column_info columns;
  std::vector<unsigned> validColumns;
  bool announced;  ///< whether the module had announced its context already
};

struct LibrarySpy {
  std::vector<std::string> calls;  ///< "create", "register", "inject", "unregister", "free" and the handler's name
  std::vector<Registered> registered;

  int failingVarbind = -1;  ///< the index varbind that cannot be added, counted from 0 since the last reset
  int varbinds = 0;
  bool failRegistration = false;
  bool failInjection = false;

  static LibrarySpy& instance();
  void reset() { *this = {}; }
};

}  // namespace test
