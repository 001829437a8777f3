# Tests of modules for ctest; find_package(quorapps) includes it. The page testing-modules.md shows how to use them.
#
# quorapps_add_config_test(NAME FILE...)
#     Passes if apptest check-config finds nothing wrong with module configurations and start-up lists, which are
#     checked together. FILE: relative to the current source folder.
#
# quorapps_add_device_test(NAME COMMAND PROGRAM [ARGUMENT...]
#                          [MODULES MODULE=PROGRAM...] [PEERS MODULE=SCRIPT...]
#                          [FILES SOURCE=PATH...] [DATABASE] [TIMEOUT SECONDS])
#     Runs a command in a private device tree and passes if it ends with 0.
#     MODULES: started in this order, each as soon as the previous one serves. PROGRAM is a target or a path. They must
#              serve until the command ends, and exit with 0 when they are asked to end. So a crash, or a finding of a
#              sanitizer, fails the test.
#     PEERS: modules played by apptest serve, with a script of answers.
#     FILES: copied into the tree before anything starts. PATH is a path of the device, such as
#            /etc/quor_apps_cfg.xml.
#     DATABASE: starts zndb.
#     TIMEOUT: for the complete test, in seconds; 60 by default.
#     The modules are in the device's start-up list, unless FILES has another. QUORAPPS_MODULE_WRAPPER in the environment
#     of ctest is the beginning of each module's command line, such as "valgrind -q --error-exitcode=9".
#     Relative paths are in the current source folder. The command may be a target too; it runs in the current binary
#     folder, with the device's tools in PATH. The log of the tree is printed with the output.

include_guard(GLOBAL)

# The tools are installed beside the package. Those of a package for another processor do not run here.
find_program(QUORAPPS_DEVICE_TREE device-tree HINTS "${QUORAPPS_PREFIX}/bin")
find_program(QUORAPPS_APPTEST apptest HINTS "${QUORAPPS_PREFIX}/bin")
mark_as_advanced(QUORAPPS_DEVICE_TREE QUORAPPS_APPTEST)
set(QUORAPPS_DEVICE_TEST "${CMAKE_CURRENT_LIST_DIR}/device-test" CACHE INTERNAL "")
set(QUORAPPS_TEST_LIBRARIES "${QUORAPPS_LIBRARY_FOLDER}" CACHE INTERNAL "")

function(quorapps_require_program name variable package)
  if(NOT ${variable})
    message(FATAL_ERROR "${name} was not found: install the package ${package}, or set ${variable}")
  endif()
endfunction()

# The environment of the tools if the package is installed in a separate prefix.
function(quorapps_set_test_environment name)
  get_filename_component(tools "${QUORAPPS_APPTEST}" DIRECTORY)
  set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT_MODIFICATION
    "PATH=path_list_prepend:${tools}" "LD_LIBRARY_PATH=path_list_append:${QUORAPPS_TEST_LIBRARIES}")
endfunction()

# The program of a target, or the absolute path of a file of the project; any other word unchanged.
function(quorapps_program_path word result)
  set(path "${word}")
  if(TARGET ${word})
    set(path "$<TARGET_FILE:${word}>")
  elseif(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${word}")
    set(path "${CMAKE_CURRENT_SOURCE_DIR}/${word}")
  endif()
  set(${result} "${path}" PARENT_SCOPE)
endfunction()

# Adds "--OPTION LEFT=RIGHT" for each pair to the list RESULT. The project's file is on the right side, for --file on
# the left.
function(quorapps_add_pairs option result)
  set(words ${${result}})
  foreach(pair IN LISTS ARGN)
    if(NOT pair MATCHES "^([^=]+)=(.+)$")
      message(FATAL_ERROR "quorapps_add_device_test: '${pair}' is not a pair with an equals sign")
    endif()
    set(left "${CMAKE_MATCH_1}")
    set(right "${CMAKE_MATCH_2}")
    if(option STREQUAL "--file")
      get_filename_component(left "${left}" ABSOLUTE)
    else()
      quorapps_program_path("${right}" right)
    endif()
    list(APPEND words ${option} "${left}=${right}")
  endforeach()
  set(${result} "${words}" PARENT_SCOPE)
endfunction()

function(quorapps_add_config_test name)
  quorapps_require_program(apptest QUORAPPS_APPTEST quorapps-tools)
  if(NOT ARGN)
    message(FATAL_ERROR "quorapps_add_config_test: ${name} has no file")
  endif()
  set(files)
  foreach(file IN LISTS ARGN)
    get_filename_component(file "${file}" ABSOLUTE)
    list(APPEND files "${file}")
  endforeach()
  add_test(NAME ${name} COMMAND ${QUORAPPS_APPTEST} check-config ${files})
  quorapps_set_test_environment(${name})
endfunction()

function(quorapps_add_device_test name)
  quorapps_require_program(device-tree QUORAPPS_DEVICE_TREE quorapps-testkit)
  quorapps_require_program(apptest QUORAPPS_APPTEST quorapps-tools)
  cmake_parse_arguments(PARSE_ARGV 1 arg "DATABASE" "TIMEOUT" "COMMAND;MODULES;PEERS;FILES")
  if(NOT arg_COMMAND OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "quorapps_add_device_test: ${name} has no COMMAND, or unknown words: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  set(steps)
  quorapps_add_pairs(--file steps ${arg_FILES})
  if(arg_DATABASE)
    list(APPEND steps --service zndb=zndb)
  endif()
  quorapps_add_pairs(--peer steps ${arg_PEERS})
  quorapps_add_pairs(--module steps ${arg_MODULES})
  list(POP_FRONT arg_COMMAND program)
  quorapps_program_path("${program}" program)
  add_test(NAME ${name}
    COMMAND ${QUORAPPS_DEVICE_TREE} --print-log -- "${QUORAPPS_DEVICE_TEST}" ${steps} -- "${program}" ${arg_COMMAND})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 60)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT})
  quorapps_set_test_environment(${name})
endfunction()
