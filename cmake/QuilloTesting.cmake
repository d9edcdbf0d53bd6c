# quillo_add_test(NAME <name> SOURCES <files...> [LIBS <targets...>])
# One GoogleTest executable, registered with CTest, run with its own safe environment.
function(quillo_add_test)
  cmake_parse_arguments(ARG "" "NAME" "SOURCES;LIBS" ${ARGN})
  add_executable(${ARG_NAME} ${ARG_SOURCES})
  target_link_libraries(${ARG_NAME} PRIVATE quillo_testsupport ${ARG_LIBS})
  add_test(NAME ${ARG_NAME} COMMAND ${ARG_NAME})
  # Tests make their own QUILLO_HOME; the outer one only guards against a test that forgets.
  set_tests_properties(${ARG_NAME} PROPERTIES
    TIMEOUT 300
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QUILLO_HOME=${CMAKE_BINARY_DIR}/test-home-${ARG_NAME};QUILLO_MCP_DEBUG=0")
endfunction()
