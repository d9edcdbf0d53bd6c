# quillo_add_test(NAME <layer>_<topic>_test SOURCES <files...> LIBS <layer library...> [PROCESS])
# One GoogleTest executable, registered with CTest with its own safe environment.
# Tests link only the layer they test (plus the test support). PROCESS marks a test
# that starts Quillo's executables: it gets the label "process", every other test
# "unit", so `ctest -L unit` stays quick.
function(quillo_add_test)
  cmake_parse_arguments(ARG "PROCESS" "NAME" "SOURCES;LIBS" ${ARGN})
  add_executable(${ARG_NAME} ${ARG_SOURCES})
  target_link_libraries(${ARG_NAME} PRIVATE ${ARG_LIBS} quillo_testsupport)
  add_test(NAME ${ARG_NAME} COMMAND ${ARG_NAME})
  set(label unit)
  if(ARG_PROCESS)
    set(label process)
    add_dependencies(${ARG_NAME} quillo)
  endif()
  # Tests make their own QUILLO_HOME; the outer one only guards against a test that forgets.
  set_tests_properties(${ARG_NAME} PROPERTIES
    LABELS ${label}
    TIMEOUT 300
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QUILLO_HOME=${CMAKE_BINARY_DIR}/test-home-${ARG_NAME};QUILLO_MCP_DEBUG=0")
endfunction()
