# SymFPU_INCLUDE_DIR: SymFPU is headers alone.
find_path(SymFPU_INCLUDE_DIR symfpu/core/unpackedFloat.h)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(SymFPU REQUIRED_VARS SymFPU_INCLUDE_DIR)
mark_as_advanced(SymFPU_INCLUDE_DIR)
