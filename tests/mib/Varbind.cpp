#include "Varbind.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace test {
namespace {

std::string typeName(u_char type) {
  switch (type) {
    case ASN_INTEGER: return "INTEGER";
    case ASN_OCTET_STR: return "STRING";
    case ASN_OBJECT_ID: return "OID";
    case ASN_COUNTER: return "Counter32";
    case ASN_GAUGE: return "Gauge32";
    case ASN_COUNTER64: return "Counter64";
    case ASN_NULL: return "NULL";
    case SNMP_NOSUCHOBJECT: return "noSuchObject";
    case SNMP_NOSUCHINSTANCE: return "noSuchInstance";
    case SNMP_ENDOFMIBVIEW: return "endOfMibView";
    default: return fmt::format("type {}", type);
  }
}

std::string valueText(const netsnmp_variable_list& variable) {
  switch (variable.type) {
    case ASN_INTEGER: return fmt::format("{}", *variable.val.integer);
    case ASN_COUNTER:
    case ASN_GAUGE: return fmt::format("{}", static_cast<unsigned long>(*variable.val.integer));
    case ASN_COUNTER64: return fmt::format("{}", variable.val.counter64->high << 32 | variable.val.counter64->low);
    case ASN_OCTET_STR:
      return fmt::format("{:02x}", fmt::join(variable.val.string, variable.val.string + variable.val_len, ""));
    case ASN_OBJECT_ID: return oidText(Oid(variable.val.objid, variable.val.objid + variable.val_len / sizeof(oid)));
    default: return "";
  }
}

}  // namespace

Oid parseOid(std::string_view text) {
  Oid id;
  std::istringstream stream{std::string(text)};
  for (std::string number; std::getline(stream, number, '.');) id.push_back(std::stoul(number));
  return id;
}

std::string oidText(const Oid& id) { return fmt::format("{}", fmt::join(id, ".")); }

bool startsWith(const Oid& id, const Oid& prefix) {
  return id.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), id.begin());
}

Oid operator+(Oid id, const Oid& tail) {
  id.insert(id.end(), tail.begin(), tail.end());
  return id;
}

std::ostream& operator<<(std::ostream& os, const Varbind& varbind) {
  return os << oidText(varbind.name) << ' ' << varbind.type << ' ' << varbind.value;
}

Varbind fromLibrary(const netsnmp_variable_list& variable) {
  return {Oid(variable.name, variable.name + variable.name_length), typeName(variable.type), valueText(variable)};
}

std::vector<Varbind> goldenList(const std::string& file) {
  std::ifstream stream(std::string(GOLDEN_FOLDER) + "/" + file);
  if (!stream) throw std::runtime_error("no golden list " + file);
  std::vector<Varbind> list;
  for (std::string line; std::getline(stream, line);) {
    if (line.empty() || line.front() == '#') continue;
    std::istringstream words(line);
    Varbind varbind;
    std::string name;
    words >> name >> varbind.type >> varbind.value;
    varbind.name = parseOid(name);
    list.push_back(varbind);
  }
  return list;
}

}  // namespace test
