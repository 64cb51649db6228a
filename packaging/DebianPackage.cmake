# One package, ptpsnmp, made by CPack of the install rules: scripts/make-package.
ptp_install_gzipped(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${doc_folder} changelog)
ptp_install_gzipped(${CMAKE_CURRENT_SOURCE_DIR}/deb/changelog ${doc_folder} changelog.Debian)
install(FILES deb/copyright DESTINATION ${doc_folder})

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME ptpsnmp)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
# 0755 whatever the builder's umask.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_PACKAGE_MAINTAINER "ptpsnmp maintainers <maintainers@ptpsnmp.example>")
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "SNMP agent for the PTP clock of this machine")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"ptpsnmpd follows a running ptp4l and serves its status over SNMP: the twelve
read-only tables of PTPBASE-MIB (RFC 8173), among them offset from master,
port states and packet counters. It asks the clock and never sets it.

The same tables can be served by snmpd: by a module that it loads, or over
AgentX. A module file for the Prometheus SNMP exporter and a data collection
for OpenNMS are included.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/platform)
set(CPACK_DEBIAN_PACKAGE_DEPENDS adduser)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "linuxptp, procps")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "snmp, snmpd, prometheus-snmp-exporter")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

foreach(script postinst prerm postrm conffiles)
  list(APPEND CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/deb/${script})
endforeach()

include(CPack)
