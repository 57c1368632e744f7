# LibEdit::LibEdit, for editing lines at a terminal. Debian ships a .pc file only.
find_path(LIBEDIT_INCLUDE_DIR histedit.h)
find_library(LIBEDIT_LIBRARY edit)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibEdit REQUIRED_VARS LIBEDIT_LIBRARY LIBEDIT_INCLUDE_DIR)
if(LibEdit_FOUND AND NOT TARGET LibEdit::LibEdit)
  add_library(LibEdit::LibEdit UNKNOWN IMPORTED)
  set_target_properties(LibEdit::LibEdit PROPERTIES IMPORTED_LOCATION "${LIBEDIT_LIBRARY}"
                                                    INTERFACE_INCLUDE_DIRECTORIES "${LIBEDIT_INCLUDE_DIR}")
endif()
mark_as_advanced(LIBEDIT_INCLUDE_DIR LIBEDIT_LIBRARY)
