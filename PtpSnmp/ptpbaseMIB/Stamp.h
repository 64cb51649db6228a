#pragma once

#include "ptpbaseMIB/Catalogue.h"
#include "ptpbaseMIB/TableRegistration.h"
#include "ptpbaseMIB/TableService.h"
#include "ptpbaseMIB/ptpbaseMIB.h"

namespace PtpSnmp::Mib {

template <class T>
constexpr auto indexComponents() {
  constexpr auto types = componentTypes<typename T::Key>();
  static_assert(types.size() == std::size(T::indexNames));
  std::array<IndexComponent, types.size()> components{};
  for (std::size_t i = 0; i < types.size(); ++i) components[i] = {T::indexNames[i], types[i]};
  return components;
}

template <class T>
constexpr auto columnNumbers() {
  std::array<unsigned int, T::lastColumn - T::firstColumn + 1> numbers{};
  for (unsigned i = 0; i < numbers.size(); ++i) numbers[i] = T::firstColumn + i;
  return numbers;
}

template <class... T>
constexpr auto catalogueEntries() {
  std::array<CatalogueEntry, (std::size(T::columns) + ...)> entries{};
  std::size_t next = 0;
  const auto append = [&](const char* table, const auto& columns) {
    for (const auto& [number, name, attribute, encoding] : columns) {
      entries[next++] = {table, number, name, attribute, encoding.converter, encoding.asnType, encoding.length};
    }
  };
  (append(T::name, T::columns), ...);
  return entries;
}

template <class T>
inline constexpr auto indexComponentsOf = indexComponents<T>();
template <class T>
inline constexpr auto columnNumbersOf = columnNumbers<T>();
template <class... T>
inline constexpr auto catalogueOf = catalogueEntries<T...>();

}  // namespace PtpSnmp::Mib

// Stamps the named functions of one table, so that each can be found by grep and stopped at by a debugger.
// They hold no logic. ptpbaseMIB.h declares them; -Wmissing-declarations rejects a name that it lacks.
#define PTPBASE_TABLE(T)                                                                                        \
  netsnmp_variable_list* T##_get_first_data_point(void** loop, void** data, netsnmp_variable_list* indexes,     \
                                                  netsnmp_iterator_info* info) {                                \
    return PtpSnmp::Mib::TableIterator<T>::getFirst(loop, data, indexes, info);                                 \
  }                                                                                                             \
  netsnmp_variable_list* T##_get_next_data_point(void** loop, void** data, netsnmp_variable_list* indexes,      \
                                                 netsnmp_iterator_info* info) {                                 \
    return PtpSnmp::Mib::TableIterator<T>::getNext(loop, data, indexes, info);                                  \
  }                                                                                                             \
  netsnmp_variable_list* T##IterationHelper(void* loop, netsnmp_variable_list* indexes) {                       \
    return PtpSnmp::Mib::TableIterator<T>::writeIndex(loop, indexes);                                           \
  }                                                                                                             \
  void* T##_make_data_context(void* loop, netsnmp_iterator_info*) {                                             \
    return PtpSnmp::Mib::TableIterator<T>::makeDataContext(loop);                                               \
  }                                                                                                             \
  void T##_free_data_context(void* data, netsnmp_iterator_info*) {                                              \
    PtpSnmp::Mib::TableIterator<T>::freeDataContext(data);                                                      \
  }                                                                                                             \
  void T##_free_loop_context_at_end(void* loop, netsnmp_iterator_info*) {                                       \
    PtpSnmp::Mib::TableIterator<T>::freeLoopContextAtEnd(loop);                                                 \
  }                                                                                                             \
  int T##_handler(netsnmp_mib_handler*, netsnmp_handler_registration*, netsnmp_agent_request_info* requestInfo, \
                  netsnmp_request_info* requests) {                                                             \
    return PtpSnmp::Mib::TableHandler<T>::handle(requestInfo, requests);                                        \
  }                                                                                                             \
  void initialize_table_##T(Kestor::Ptr<Snmp::Config const>, Kestor::String context) {                          \
    static constexpr PtpSnmp::Mib::TableDescription description{T::name,                                        \
                                                                T::rootOid,                                     \
                                                                PtpSnmp::Mib::indexComponentsOf<T>,             \
                                                                PtpSnmp::Mib::columnNumbersOf<T>,               \
                                                                T##_handler,                                    \
                                                                T##_get_first_data_point,                       \
                                                                T##_get_next_data_point,                        \
                                                                T##_make_data_context,                          \
                                                                T##_free_data_context,                          \
                                                                T##_free_loop_context_at_end};                  \
    PtpSnmp::Mib::registerTable(description, context);                                                          \
  }
