#include "MibModule.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <stdexcept>

#include "BuildInfo.h"
#include "Snmp/HandlerRegistration.h"
#include "WorkBound.h"
#include "Zarn/StateDatabase.h"
#include "Zarn/TypeRegistry.h"

namespace host {
namespace {

constexpr char ptpMibPath[] = "snmp/ptp/ptpmib";
constexpr char defaultContext[] = "";

// The module's names are C++ names: see ptpbaseMIB.h.
constexpr char modelTypesName[] = "_ZN7PtpSnmp13PtpSnmpModuleE";
constexpr char agentTypesName[] = "_ZN7PtpSnmp5Agent18PtpSnmpAgentModuleE";
constexpr char unregisterName[] = "_Z21unregister_ptpbaseMIBNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE";

void* openLibrary(const std::string& file) {
  void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(fmt::format("cannot load the module: {}", dlerror()));
  return library;
}

}  // namespace

std::string moduleFileNear(const std::string& folder) {
  std::error_code ignored;
  const auto near = std::filesystem::path(folder) / moduleFile;
  return std::filesystem::exists(near, ignored) ? near : std::filesystem::path(moduleFolder) / moduleFile;
}

void MibModule::Close::operator()(void* library) const noexcept { dlclose(library); }

template <class T>
T MibModule::symbol(const char* name) const {
  void* const address = dlsym(library_.get(), name);
  if (address == nullptr) throw std::runtime_error(fmt::format("{} is not the expected module: no {}", file_, name));
  return reinterpret_cast<T>(address);
}

MibModule::MibModule(const std::string& file, const Kestor::Ptr<Ptp::Status>& status,
                     const Kestor::Ptr<IntfSnmp::IfMib>& ifMib)
    : file_(file),
      library_(openLibrary(file)),
      modelTypes_(*symbol<const Zarn::ModuleData*>(modelTypesName)),
      agentTypes_(*symbol<const Zarn::ModuleData*>(agentTypesName)),
      unregister_(symbol<ContextFunction>(unregisterName)) {
  auto& types = Zarn::TypeRegistry::instance();
  types.moduleIs(modelTypes_);
  types.moduleIs(agentTypes_);

  const Kestor::Ptr<Zarn::Entity> ptpMib = types.entity("PtpSnmp::PtpMib", "ptpmib");
  Zarn::StateDatabase::instance().entityIs(ptpMibPath, ptpMib);
  root_ = types.entity("PtpSnmp::Agent::Root", "ptpSnmp");
  const std::array<Kestor::Ptr<Zarn::Entity>, 3> inputs{status, ptpMib, ifMib};
  Zarn::attributeEntityIs(*root_, "agent", inputs);

  for (Snmp::HandlerRegistration* registration : Snmp::handlerRegistrations())
    registration->initHandler(defaultContext);
  boundWorkOfTables();
}

MibModule::~MibModule() {
  unregister_(defaultContext);
  root_.reset();
  Zarn::StateDatabase::instance().entityDel(ptpMibPath);
  auto& types = Zarn::TypeRegistry::instance();
  types.moduleDel(agentTypes_);
  types.moduleDel(modelTypes_);
}

}  // namespace host
