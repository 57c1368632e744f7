# CryptoMiniSat::CryptoMiniSat, a SAT solver library that the tests use. Debian ships it without a package file.
find_path(CRYPTOMINISAT_INCLUDE_DIR cryptominisat5/cryptominisat.h)
find_library(CRYPTOMINISAT_LIBRARY cryptominisat5)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(CryptoMiniSat REQUIRED_VARS CRYPTOMINISAT_LIBRARY CRYPTOMINISAT_INCLUDE_DIR)
if(CryptoMiniSat_FOUND AND NOT TARGET CryptoMiniSat::CryptoMiniSat)
  add_library(CryptoMiniSat::CryptoMiniSat UNKNOWN IMPORTED)
  set_target_properties(CryptoMiniSat::CryptoMiniSat PROPERTIES IMPORTED_LOCATION "${CRYPTOMINISAT_LIBRARY}"
                        INTERFACE_INCLUDE_DIRECTORIES "${CRYPTOMINISAT_INCLUDE_DIR}")
endif()
mark_as_advanced(CRYPTOMINISAT_INCLUDE_DIR CRYPTOMINISAT_LIBRARY)
