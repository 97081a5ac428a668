# The target docs: the API reference as HTML in docs/html of the build tree. Warnings are errors.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  message(STATUS "No target docs, and no test of the documentation: doxygen is missing (scripts/install-packages check)")
  return()
endif()

list(TRANSFORM ZORVEX_PUBLIC_HEADERS PREPEND "${PROJECT_SOURCE_DIR}/" OUTPUT_VARIABLE headers)
list(APPEND headers "${PROJECT_SOURCE_DIR}/foundation/foundation.h")
list(TRANSFORM headers REPLACE "(.+)" "\"\\1\"")
list(JOIN headers " " ZORVEX_DOCUMENTED_HEADERS)
configure_file(docs/Doxyfile.in "${PROJECT_BINARY_DIR}/docs/Doxyfile" @ONLY)
add_custom_target(docs
  COMMAND Doxygen::doxygen "${PROJECT_BINARY_DIR}/docs/Doxyfile"
  WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
  COMMENT "API reference")
