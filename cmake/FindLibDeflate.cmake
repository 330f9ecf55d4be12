# Finds libdeflate: LibDeflate_FOUND, and the target LibDeflate::LibDeflate.
include(FindPackageHandleStandardArgs)

find_path(LibDeflate_INCLUDE_DIR libdeflate.h)
find_library(LibDeflate_LIBRARY deflate)
mark_as_advanced(LibDeflate_INCLUDE_DIR LibDeflate_LIBRARY)
find_package_handle_standard_args(LibDeflate DEFAULT_MSG LibDeflate_LIBRARY LibDeflate_INCLUDE_DIR)

if(LibDeflate_FOUND AND NOT TARGET LibDeflate::LibDeflate)
  add_library(LibDeflate::LibDeflate UNKNOWN IMPORTED)
  set_target_properties(LibDeflate::LibDeflate PROPERTIES
      IMPORTED_LOCATION "${LibDeflate_LIBRARY}"
      INTERFACE_INCLUDE_DIRECTORIES "${LibDeflate_INCLUDE_DIR}")
endif()
