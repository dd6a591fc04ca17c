# The API reference: `cmake --build --preset release --target docs` writes the
# HTML pages to docs/html in the build folder. The target exists only when
# Doxygen is installed and is never part of the default build. Doxygen fails
# on any warning, an undocumented public declaration included.
find_package(Doxygen)
if(DOXYGEN_FOUND)
  set(LUM_DOCS_SOURCE_DIR "${PROJECT_SOURCE_DIR}")
  set(LUM_DOCS_OUTPUT_DIR "${PROJECT_BINARY_DIR}/docs")
  configure_file("${PROJECT_SOURCE_DIR}/docs/Doxyfile.in" "${PROJECT_BINARY_DIR}/Doxyfile" @ONLY)
  add_custom_target(docs
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${LUM_DOCS_OUTPUT_DIR}"
    COMMAND Doxygen::doxygen "${PROJECT_BINARY_DIR}/Doxyfile"
    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
    COMMENT "API reference (Doxygen) in ${LUM_DOCS_OUTPUT_DIR}/html"
    VERBATIM)
else()
  message(STATUS "Doxygen not found: no docs target")
endif()
