#pragma once

#include <memory>
#include <string>

#include "IntfSnmp/IfMib.h"
#include "Kestor/Ptr.h"
#include "Ptp/Status.h"
#include "Zarn/TypeData.h"

namespace host {

/// The module's file: in this folder, as in a build tree, or else where it is installed.
std::string moduleFileNear(const std::string& folder);

/// The loaded module, at work: its types registered, its container at "snmp/ptp/ptpmib", its agent following the
/// status, its tables registered in the default context. Destroying it undoes all of this and unloads it.
class MibModule {
 public:
  /// Throws std::runtime_error where the file cannot be loaded or is another one.
  MibModule(const std::string& file, const Kestor::Ptr<Ptp::Status>& status, const Kestor::Ptr<IntfSnmp::IfMib>& ifMib);
  MibModule(const MibModule&) = delete;
  MibModule& operator=(const MibModule&) = delete;
  ~MibModule();

 private:
  struct Close {
    void operator()(void* library) const noexcept;
  };
  using Library = std::unique_ptr<void, Close>;
  using ContextFunction = void (*)(Kestor::String context);

  template <class T>
  T symbol(const char* name) const;

  // The code goes last: everything below is made of it.
  const std::string file_;
  const Library library_;
  const Zarn::ModuleData& modelTypes_;
  const Zarn::ModuleData& agentTypes_;
  const ContextFunction unregister_;
  Kestor::Ptr<Zarn::Entity> root_;
};

}  // namespace host
