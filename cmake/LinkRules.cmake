# ptp_links_only(<target> <library>...): the target may link these and nothing else, or configuration fails. Arrows
# between the layers point down only; a forbidden one is noticed here and not at the next change of the platform.
function(ptp_links_only target)
  get_target_property(linked ${target} LINK_LIBRARIES)
  if(NOT linked)
    return()
  endif()
  foreach(library IN LISTS linked)
    if(NOT library IN_LIST ARGN)
      list(JOIN ARGN ", " allowed)
      message(FATAL_ERROR "${target} links ${library}; it may link only: ${allowed}")
    endif()
  endforeach()
endfunction()
