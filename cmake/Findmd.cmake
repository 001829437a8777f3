# libmd, which brings no CMake package of its own: md::md. Its headers have names that other libraries use
# too, so MD_INCLUDE_DIR is for naming one whole, never for a search path.

find_path(MD_INCLUDE_DIR md5.h)
find_library(MD_LIBRARY md)
mark_as_advanced(MD_INCLUDE_DIR MD_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(md REQUIRED_VARS MD_LIBRARY MD_INCLUDE_DIR)

if(md_FOUND AND NOT TARGET md::md)
  add_library(md::md UNKNOWN IMPORTED)
  set_target_properties(md::md PROPERTIES IMPORTED_LOCATION "${MD_LIBRARY}")
endif()
