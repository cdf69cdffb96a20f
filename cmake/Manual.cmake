# The manual: Markdown pages in docs/manual/ become HTML pages in the build tree (target pastille_manual), in the order
# of docs/manual/pages.txt. Sets PASTILLE_MANUAL_FOLDER, where the pages, their style and their pictures are.

set(PASTILLE_MANUAL_FOLDER ${PROJECT_BINARY_DIR}/docs/manual)
set(manualSource ${PROJECT_SOURCE_DIR}/docs/manual)
find_program(PASTILLE_CMARK cmark-gfm)
if(NOT PASTILLE_CMARK)
  if(PASTILLE_GUI)
    message(FATAL_ERROR "The manual of the desktop program needs cmark-gfm.")
  endif()
  message(STATUS "No cmark-gfm: the manual is not built.")
  return()
endif()

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${manualSource}/pages.txt)
file(STRINGS ${manualSource}/pages.txt manualLines REGEX "^[a-z]")
set(manualOutputs)
foreach(line IN LISTS manualLines)
  string(REGEX MATCH "^[a-z-]+" page "${line}")
  set(output ${PASTILLE_MANUAL_FOLDER}/${page}.html)
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -D CMARK=${PASTILLE_CMARK} -D SOURCE=${manualSource} -D PAGE=${page} -D OUTPUT=${output}
      -D VERSION=${PROJECT_VERSION} -P ${PROJECT_SOURCE_DIR}/cmake/ManualPage.cmake
    DEPENDS ${manualSource}/${page}.md ${manualSource}/pages.txt
      ${PROJECT_SOURCE_DIR}/cmake/ManualPage.cmake ${PROJECT_SOURCE_DIR}/cmake/ManualPage.html.in
    VERBATIM)
  list(APPEND manualOutputs ${output})
endforeach()

file(GLOB manualFiles CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
  ${manualSource}/manual.css ${manualSource}/pictures/*.png ${PROJECT_SOURCE_DIR}/docs/schema/*.json)
foreach(file IN LISTS manualFiles)
  # Beside the pages, so that a link to a schema is the same in the sources and in what is installed.
  string(REGEX REPLACE "^docs/(manual/)?" "" place ${file})
  add_custom_command(OUTPUT ${PASTILLE_MANUAL_FOLDER}/${place}
    COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/${file} ${PASTILLE_MANUAL_FOLDER}/${place}
    DEPENDS ${PROJECT_SOURCE_DIR}/${file} VERBATIM)
  list(APPEND manualOutputs ${PASTILLE_MANUAL_FOLDER}/${place})
endforeach()

add_custom_target(pastille_manual ALL DEPENDS ${manualOutputs})
