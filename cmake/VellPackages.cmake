# Debian packages: configure with the preset `debian`, build, and run cpack in build/debian.
#
# As the distribution splits libraries: libvell0.1, which programs of this minor version run with, and libvell-dev, which
# they are built with; libvell-script0.1 and libvell-script-dev in the same way; vell-bv, the command line. Packages of
# several minor versions can be installed side by side, so the names follow those of the shared libraries.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vell)
set(CPACK_PACKAGE_VENDOR "The Vell authors")
set(CPACK_PACKAGE_CONTACT "The Vell authors <vell@localhost>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)  # MIT; each package has it as its copyright file
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET vell-bv)
  list(APPEND CPACK_COMPONENTS_ALL script-runtime script-development tool)
endif()

if(TARGET vell_python)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(runtime_package "libvell${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")
set(script_runtime_package "libvell-script${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
# The libraries that programs are linked with come from the distribution's own data; for this library's packages the
# data is made here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/vell)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The shared library: translates terms over fixed-size bit-vectors into
 propositional clauses.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)

set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, CMake package and pkg-config file of the library.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvell-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} ${same_version}, libgmp-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)

set(CPACK_COMPONENT_SCRIPT-RUNTIME_DESCRIPTION "The shared script library: reads SMT-LIB scripts over bit-vectors,
 writes their clauses, decides them incrementally.")
set(CPACK_DEBIAN_SCRIPT-RUNTIME_PACKAGE_NAME ${script_runtime_package})
set(CPACK_DEBIAN_SCRIPT-RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_SCRIPT-RUNTIME_PACKAGE_DEPENDS "${runtime_package} ${same_version}")

set(CPACK_COMPONENT_SCRIPT-DEVELOPMENT_DESCRIPTION "Headers for C++ and C, CMake package and pkg-config file of the
 script library.")
set(CPACK_DEBIAN_SCRIPT-DEVELOPMENT_PACKAGE_NAME libvell-script-dev)
set(CPACK_DEBIAN_SCRIPT-DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_SCRIPT-DEVELOPMENT_PACKAGE_DEPENDS
    "${script_runtime_package} ${same_version}, libvell-dev ${same_version}")
set(CPACK_DEBIAN_SCRIPT-DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)

set(CPACK_COMPONENT_TOOL_DESCRIPTION "The command line: runs SMT-LIB scripts over bit-vectors and writes their
 clauses as DIMACS.")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME vell-bv)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION math)
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS graphviz)  # for pictures of `draw`
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${script_runtime_package} ${same_version}")

set(CPACK_COMPONENT_PYTHON_DESCRIPTION "The Python package: terms over bit-vectors, their clauses as NumPy arrays,
 and an incremental solver.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-vell)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
# A module is built for one version of the interpreter.
if(TARGET vell_python)
  math(EXPR next_minor "${Python_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${script_runtime_package} ${same_version}, python3-numpy, \
python3 (>= 3.${Python_VERSION_MINOR}), python3 (<< 3.${next_minor})")
endif()

include(CPack)
