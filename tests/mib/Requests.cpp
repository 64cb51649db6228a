#include "Requests.h"

namespace test {

Requests::Requests(const Table& table, int mode) : table_(table) { agentRequest_.mode = mode; }

Requests::~Requests() {
  for (Request& request : requests_) {
    if (request.dataContext != nullptr) table_.freeDataContext(request.dataContext, nullptr);
    netsnmp_free_request_data_sets(&request.info);
    snmp_free_var_internals(&request.variable);
  }
}

netsnmp_request_info& Requests::add(unsigned column, Walk* row) {
  Request& request = requests_.emplace_back();
  request.variable.type = ASN_NULL;
  request.info.requestvb = &request.variable;
  request.info.agent_req_info = &agentRequest_;
  request.table.colnum = column;
  netsnmp_request_add_list_data(&request.info, netsnmp_create_data_list(TABLE_HANDLER_NAME, &request.table, nullptr));
  if (row != nullptr) {
    request.dataContext = row->makeDataContext();
    netsnmp_request_add_list_data(&request.info,
                                  netsnmp_create_data_list(TABLE_ITERATOR_NAME, request.dataContext, nullptr));
  }
  if (requests_.size() > 1) requests_[requests_.size() - 2].info.next = &request.info;
  return request.info;
}

int Requests::handle() {
  return table_.handler(nullptr, nullptr, &agentRequest_, requests_.empty() ? nullptr : &requests_.front().info);
}

bool Requests::untouched(std::size_t i) const {
  return requests_[i].variable.type == ASN_NULL && requests_[i].info.status == SNMP_ERR_NOERROR;
}

}  // namespace test
