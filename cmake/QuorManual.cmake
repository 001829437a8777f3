# The man pages. They carry the project's version, and the date of its release in CHANGELOG.md. Until it is released, the
# date is that of the build; SOURCE_DATE_EPOCH sets it, so that a build can be reproduced.

find_program(QUOR_PYTHON python3 REQUIRED)

file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md quor_release LIMIT_COUNT 1 REGEX "^## ")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
if(quor_release MATCHES "[0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]")
  set(QUOR_MANUAL_DATE ${CMAKE_MATCH_0})
else()
  string(TIMESTAMP QUOR_MANUAL_DATE "%Y-%m-%d" UTC)
endif()

# quor_man_pages(SECTION FILES...): pages that were written by hand.
function(quor_man_pages section)
  foreach(page IN LISTS ARGN)
    cmake_path(GET page FILENAME name)
    configure_file(${page} ${PROJECT_BINARY_DIR}/man/man${section}/${name} @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/man/man${section}/${name}
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
  endforeach()
endfunction()

# quor_completion(FILE PROGRAM): what bash completes the program's words with, where it looks for it.
function(quor_completion file program)
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${program})
endfunction()

# Section 3: a page of each exported function, made of the comments of the public headers.
function(quor_function_pages)
  set(exports apps/libapps/libquorapps.map base/libquorbase.map modem/libmal.map)
  list(TRANSFORM exports PREPEND ${PROJECT_SOURCE_DIR}/)
  file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/apps/libapps/include/*.h
    ${PROJECT_SOURCE_DIR}/base/include/*.h ${PROJECT_SOURCE_DIR}/modem/include/*.h)
  set(pages ${PROJECT_BINARY_DIR}/man/man3)
  set(generator ${PROJECT_SOURCE_DIR}/docs/reference/man_pages.py)
  list(TRANSFORM exports PREPEND "--exports=" OUTPUT_VARIABLE arguments)
  add_custom_command(OUTPUT ${pages}.made
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${pages}
    COMMAND ${QUOR_PYTHON} ${generator} --version ${PROJECT_VERSION} --date ${QUOR_MANUAL_DATE} --output ${pages}
      ${arguments} ${headers}
    COMMAND ${CMAKE_COMMAND} -E touch ${pages}.made
    DEPENDS ${generator} ${PROJECT_SOURCE_DIR}/docs/reference/header_comments.py ${exports} ${headers}
    COMMENT "Writing the man pages of the functions")
  add_custom_target(function-pages ALL DEPENDS ${pages}.made)
  install(DIRECTORY ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR})
endfunction()
