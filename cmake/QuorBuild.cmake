# Compile and link options of every target.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
list(APPEND CMAKE_MODULE_PATH "${PROJECT_SOURCE_DIR}/cmake")
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

# Log lines and assertions carry file names, never the path of the machine that built them. 64-bit file
# offsets everywhere, or a 32-bit build can't stat files with large inode numbers.
add_compile_options(-Wall -Wextra -Wconversion -Wshadow -Werror
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
add_compile_definitions(_GNU_SOURCE _FILE_OFFSET_BITS=64)
add_link_options(-Wl,--as-needed)

if(QUOR_SANITIZE)
  add_compile_options("-fsanitize=${QUOR_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options("-fsanitize=${QUOR_SANITIZE}")
endif()

# Counts how often each line and branch is run; threads count at once.
if(QUOR_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_compile_definitions(QUOR_COVERAGE)
  add_link_options(--coverage)
endif()

# Makes a library with an undefined symbol fail to link. Not for sanitized libraries, since the sanitizer's functions
# are only in the program.
set(QUOR_NO_UNDEFINED "")
if(NOT QUOR_SANITIZE)
  set(QUOR_NO_UNDEFINED -Wl,-z,defs)
endif()

# The device's libraries have no exceptions and no type information.
function(quor_device_code target)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
endfunction()

# Finishes a shared library of the product: it exports what map lists, carries a SONAME, and its public headers
# are the files in the folder include.
function(quor_shared_library target map)
  add_library(quorapps::${target} ALIAS ${target})
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/quorapps>)
  target_link_options(${target} PRIVATE
    "-Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/${map}" ${QUOR_NO_UNDEFINED})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX
    LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${map})
endfunction()
