# optcalc_add_library(NAME SOURCES ... LIBS ...)
# A shared library of the terminal platform; NAME_LIBRARY selects the export side
# of its NAME_EXPORT macro.
function(optcalc_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  string(TOUPPER ${name} upper)
  target_compile_definitions(${name} PRIVATE ${upper}_LIBRARY)
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/..)
  target_link_libraries(${name} PUBLIC ${ARG_LIBS})
endfunction()

# optcalc_add_test(NAME LABEL label SOURCES ... LIBS ...)
# One Qt Test executable registered with CTest under the given label.
function(optcalc_add_test name)
  cmake_parse_arguments(ARG "" "LABEL" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE Qt5::Test ${ARG_LIBS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABEL}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endfunction()
