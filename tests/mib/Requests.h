#pragma once

#include <deque>

#include "Iteration.h"

namespace test {

/// A list of requests as the table iterator hands them to a table's handler.
class Requests {
 public:
  Requests(const Table& table, int mode);
  Requests(const Requests&) = delete;
  Requests& operator=(const Requests&) = delete;
  ~Requests();

  /// Appends a request for a column, in the row where the walk stands; without a data context where there is none.
  netsnmp_request_info& add(unsigned column, Walk* row);

  int handle();
  std::size_t size() const { return requests_.size(); }
  netsnmp_request_info& operator[](std::size_t i) { return requests_[i].info; }
  Varbind value(std::size_t i) const { return fromLibrary(requests_[i].variable); }
  /// Neither a value nor an error was set.
  bool untouched(std::size_t i) const;

 private:
  struct Request {
    netsnmp_request_info info{};
    netsnmp_variable_list variable{};
    netsnmp_table_request_info table{};
    void* dataContext = nullptr;
  };

  const Table& table_;
  netsnmp_agent_request_info agentRequest_{};
  std::deque<Request> requests_;
};

}  // namespace test
