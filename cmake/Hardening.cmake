# What optimised builds are defended with, at next to no cost; tests/packaging/hardening_test.py holds every installed
# file to it. Not with -fsanitize, which brings checks of its own that _FORTIFY_SOURCE would hide.
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)

string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
if(build_type MATCHES "^(RELEASE|RELWITHDEBINFO|MINSIZEREL)$" AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(PTPSNMP_HARDENED TRUE)
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  add_link_options(LINKER:-z,relro LINKER:-z,now)
  # What is bound at start needs no stub that binds it later.
  add_compile_options(-fno-plt)
endif()
