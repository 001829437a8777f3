# libmd, which has no CMake package: md::md. Other libraries have headers with the same names, so use MD_INCLUDE_DIR to
# name a header by its full path, never as a search path.

find_path(MD_INCLUDE_DIR md5.h)
find_library(MD_LIBRARY md)
mark_as_advanced(MD_INCLUDE_DIR MD_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(md REQUIRED_VARS MD_LIBRARY MD_INCLUDE_DIR)

if(md_FOUND AND NOT TARGET md::md)
  add_library(md::md UNKNOWN IMPORTED)
  set_target_properties(md::md PROPERTIES IMPORTED_LOCATION "${MD_LIBRARY}")
endif()
