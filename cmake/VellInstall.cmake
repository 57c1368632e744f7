# What `cmake --install` puts where: the library with its headers, CMake package and .pc file, and the command line.
# Everything below the prefix finds the rest by its own place, so that an installed tree can be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

get_target_property(VELL_LIBRARY_TYPE vell TYPE)
set(VELL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vell)

install(TARGETS vell EXPORT vell
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET vell_script)
  install(TARGETS vell_script EXPORT vellScript
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT script-runtime NAMELINK_COMPONENT script-development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT script-development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  if(VELL_LIBRARY_TYPE STREQUAL "SHARED_LIBRARY")
    set_target_properties(vell_script PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()
endif()

if(TARGET vell_python AND NOT CMAKE_SKIP_INSTALL_RPATH AND VELL_LIBRARY_TYPE STREQUAL "SHARED_LIBRARY")
  file(RELATIVE_PATH python_to_lib ${CMAKE_INSTALL_PREFIX}/${VELL_PYTHON_INSTALL_DIR}/vell ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(vell_python PROPERTIES INSTALL_RPATH "$ORIGIN/${python_to_lib}")
endif()

# Headers. The sources include some that no caller needs.
set(VELL_INTERNAL_HEADERS terms/termbuilder.h terms/theorybuilders.h bv/emit.h bv/gates.h bv/poollist.h bv/trace.h
    script/border.h script/controlparts.h)
function(vell_install_headers layer component)
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/vell ${PROJECT_SOURCE_DIR}/vell/${layer}/*.h)
  list(REMOVE_ITEM headers ${VELL_INTERNAL_HEADERS})
  list(TRANSFORM headers PREPEND ${PROJECT_SOURCE_DIR}/vell/)
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vell/${layer} COMPONENT ${component})
endfunction()
foreach(layer utils terms bv sinks)
  vell_install_headers(${layer} development)
endforeach()
if(TARGET vell_script)
  vell_install_headers(script script-development)
  install(FILES ${PROJECT_SOURCE_DIR}/vell/c/vell.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
          COMPONENT script-development)
endif()

# The floating-point layer, beside the library. Its other headers show SymFPU's way of working, or need headers that are
# not installed.
if(TARGET vell_fp)
  install(TARGETS vell_fp EXPORT vell
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  if(VELL_LIBRARY_TYPE STREQUAL "SHARED_LIBRARY")
    set_target_properties(vell_fp PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()
  install(FILES ${PROJECT_SOURCE_DIR}/vell/fp/combination.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vell/fp
          COMPONENT development)
endif()

# The licence. Debian looks for it under the name of each package; see VellPackages.cmake.
function(vell_install_licence package component)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}
          RENAME copyright COMPONENT ${component})
endfunction()
vell_install_licence(libvell${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} runtime)
vell_install_licence(libvell-dev development)
if(TARGET vell_python)
  vell_install_licence(python3-vell python)
endif()
if(TARGET vell_script)
  vell_install_licence(libvell-script${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} script-runtime)
  vell_install_licence(libvell-script-dev script-development)
endif()

# CMake package. Its component `script` is there where the files of the script library are.
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vellConfig.cmake.in ${PROJECT_BINARY_DIR}/vellConfig.cmake
  INSTALL_DESTINATION ${VELL_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vellConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(EXPORT vell NAMESPACE vell:: FILE vellTargets.cmake DESTINATION ${VELL_CMAKE_DIR} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/vellConfig.cmake ${PROJECT_BINARY_DIR}/vellConfigVersion.cmake
              ${PROJECT_SOURCE_DIR}/cmake/FindGMP.cmake
        DESTINATION ${VELL_CMAKE_DIR} COMPONENT development)
if(TARGET vell_script)
  install(EXPORT vellScript NAMESPACE vell:: FILE vellScriptTargets.cmake DESTINATION ${VELL_CMAKE_DIR}
          COMPONENT script-development)
  # An archive names no libraries: whoever links it has to find them.
  if(VELL_LIBRARY_TYPE STREQUAL "STATIC_LIBRARY")
    install(FILES ${PROJECT_SOURCE_DIR}/cmake/FindMPFR.cmake ${PROJECT_SOURCE_DIR}/cmake/FindCaDiCaL.cmake
                  ${PROJECT_SOURCE_DIR}/cmake/FindNettle.cmake
            DESTINATION ${VELL_CMAKE_DIR} COMPONENT script-development)
  endif()
endif()

# .pc files. The prefix is the way up from the file's own directory.
file(RELATIVE_PATH VELL_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VELL_PC_TO_PREFIX "${VELL_PC_TO_PREFIX}")
file(RELATIVE_PATH VELL_PC_LIBDIR ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH VELL_PC_INCLUDEDIR ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
if(VELL_LIBRARY_TYPE STREQUAL "STATIC_LIBRARY")
  # An archive names no libraries, so whoever links it has to, with --static or without; and the C++ run-time library
  # where the program's main is not C++.
  set(VELL_PC_CFLAGS " -DVELL_STATIC")
  set(VELL_PC_LIBS " -lgmp")
  foreach(library IN LISTS CMAKE_DL_LIBS)
    string(APPEND VELL_PC_LIBS " -l${library}")
  endforeach()
  set(VELL_PC_LIBS_PRIVATE " -lstdc++")
else()
  # A caller of qnumber_gmp.h includes gmp.h and links GMP on its own account.
  set(VELL_PC_CFLAGS "")
  set(VELL_PC_LIBS "")
  set(VELL_PC_LIBS_PRIVATE " -lgmp")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/vell.pc.in ${PROJECT_BINARY_DIR}/vell.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vell.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
if(TARGET vell_script)
  if(VELL_LIBRARY_TYPE STREQUAL "STATIC_LIBRARY")
    set(VELL_SCRIPT_PC_LIBS " -lmpfr -lcadical -lnettle -lz -lbz2 -llzma -lzstd -lgmpxx -lpthread -lm")
  else()
    set(VELL_SCRIPT_PC_LIBS "")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/vell-script.pc.in ${PROJECT_BINARY_DIR}/vell-script.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/vell-script.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT script-development)
endif()

# The command line finds a shared library beside itself. A distribution's package, installed where the loader looks
# anyway, switches that off with CMAKE_SKIP_INSTALL_RPATH.
if(TARGET vell-bv)
  file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  if(VELL_LIBRARY_TYPE STREQUAL "SHARED_LIBRARY")
    set_target_properties(vell-bv PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  endif()
  install(TARGETS vell-bv RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  vell_install_licence(vell-bv tool)
endif()
