# NetSnmp::Library (packets, configuration), NetSnmp::Agent (handlers), NetSnmp::Mibs (the agent's own MIB modules).
find_path(NetSnmp_INCLUDE_DIR net-snmp/net-snmp-config.h)
find_library(NetSnmp_LIBRARY netsnmp)
find_library(NetSnmp_AGENT_LIBRARY netsnmpagent)
find_library(NetSnmp_MIBS_LIBRARY netsnmpmibs)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(NetSnmp
  REQUIRED_VARS NetSnmp_LIBRARY NetSnmp_AGENT_LIBRARY NetSnmp_MIBS_LIBRARY NetSnmp_INCLUDE_DIR)

if(NetSnmp_FOUND AND NOT TARGET NetSnmp::Library)
  add_library(NetSnmp::Library UNKNOWN IMPORTED)
  set_target_properties(NetSnmp::Library PROPERTIES
    IMPORTED_LOCATION ${NetSnmp_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES "${NetSnmp_INCLUDE_DIR};${PROJECT_SOURCE_DIR}/netsnmp")
  add_library(NetSnmp::Agent UNKNOWN IMPORTED)
  set_target_properties(NetSnmp::Agent PROPERTIES
    IMPORTED_LOCATION ${NetSnmp_AGENT_LIBRARY} INTERFACE_LINK_LIBRARIES NetSnmp::Library)
  add_library(NetSnmp::Mibs UNKNOWN IMPORTED)
  set_target_properties(NetSnmp::Mibs PROPERTIES
    IMPORTED_LOCATION ${NetSnmp_MIBS_LIBRARY} INTERFACE_LINK_LIBRARIES NetSnmp::Agent)
endif()
