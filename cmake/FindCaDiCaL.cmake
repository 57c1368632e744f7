# CaDiCaL::CaDiCaL, the SAT solver library. Debian ships the static library and cadical.hpp without a package file.
find_path(CADICAL_INCLUDE_DIR cadical.hpp)
find_library(CADICAL_LIBRARY cadical)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(CaDiCaL REQUIRED_VARS CADICAL_LIBRARY CADICAL_INCLUDE_DIR)
if(CaDiCaL_FOUND AND NOT TARGET CaDiCaL::CaDiCaL)
  add_library(CaDiCaL::CaDiCaL UNKNOWN IMPORTED)
  set_target_properties(CaDiCaL::CaDiCaL PROPERTIES IMPORTED_LOCATION "${CADICAL_LIBRARY}"
                                                    INTERFACE_INCLUDE_DIRECTORIES "${CADICAL_INCLUDE_DIR}")
endif()
mark_as_advanced(CADICAL_INCLUDE_DIR CADICAL_LIBRARY)
