# SPDX-License-Identifier: MIT
# The tests of the folders that see Qt.
find_package(Qt6 6.4 REQUIRED COMPONENTS Test)

file(GLOB window_support CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/ui/support/*.cpp
     ${CMAKE_CURRENT_SOURCE_DIR}/ui/support/*.h)
add_library(tolvane_window_test_support STATIC ${window_support})
tolvane_target(tolvane_window_test_support)
target_link_libraries(tolvane_window_test_support PUBLIC tolvane_ui tolvane_test_support Qt6::Test
                                                         GTest::gmock)

# As tolvane_tests(), with a main() that makes an application on a screen in memory.
function(tolvane_window_tests name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp
       ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.h)
  add_executable(tolvane_${name}_tests ${sources})
  tolvane_target(tolvane_${name}_tests)
  target_link_libraries(tolvane_${name}_tests PRIVATE ${ARGN} tolvane_window_test_support)
  target_precompile_headers(tolvane_${name}_tests PRIVATE <QtWidgets> <gmock/gmock.h>
                            <gtest/gtest.h> <string> <vector>)
  # What holds the window to a bound of time: scripts/test runs it by itself.
  set(timed LargeRun.*:*BadInput.*:Main.IsDrawn*)
  set(properties TIMEOUT 300 ENVIRONMENT "TOLVANE_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
  gtest_discover_tests(tolvane_${name}_tests DISCOVERY_MODE PRE_TEST TEST_FILTER -${timed}
                       PROPERTIES ${properties})
  gtest_discover_tests(tolvane_${name}_tests DISCOVERY_MODE PRE_TEST TEST_FILTER ${timed}
                       PROPERTIES ${properties} RUN_SERIAL ON LABELS timed)
endfunction()

tolvane_window_tests(ui tolvane_ui)
tolvane_window_tests(app tolvane_app Qt6::Svg SQLite::SQLite3)

# The real program, and the window in a process of its own, on a display in memory. Python's module
# for the accessibility tree belongs to the system's interpreter.
add_executable(tolvane_sample_window ${CMAKE_CURRENT_SOURCE_DIR}/app/window/main.cpp)
tolvane_target(tolvane_sample_window)
target_link_libraries(tolvane_sample_window PRIVATE tolvane_app)

set(with_display ${CMAKE_CURRENT_SOURCE_DIR}/app/with_display)
add_test(NAME app.program
         COMMAND ${with_display} ${CMAKE_CURRENT_SOURCE_DIR}/app/start_program.py
                 $<TARGET_FILE:tolvane> ${CMAKE_CURRENT_BINARY_DIR}/program.xwd)
add_test(NAME app.accessibility
         COMMAND ${with_display} ${CMAKE_CURRENT_SOURCE_DIR}/app/use_window.py
                 $<TARGET_FILE:tolvane_sample_window>)
add_test(NAME app.workflows
         COMMAND ${with_display} ${CMAKE_CURRENT_SOURCE_DIR}/app/use_program.py
                 $<TARGET_FILE:tolvane>)
set_tests_properties(app.program app.accessibility app.workflows
                     PROPERTIES TIMEOUT 120 SKIP_RETURN_CODE 77 RESOURCE_LOCK display
                                ENVIRONMENT PYTHONDONTWRITEBYTECODE=1)

# What depends on places and sizes again where a point is more than a pixel: the layout, the table's
# rows, texts, and the screenshots.
foreach(scale 1.5 2)
  add_test(NAME ui.scale_${scale} COMMAND tolvane_ui_tests
           --gtest_filter=*Layout*:MinimumSize.*:Table.*:LongTextView.*:ConsoleSelecting.*)
  add_test(NAME app.scale_${scale} COMMAND tolvane_app_tests --gtest_filter=About.*:*Screenshots*)
  set_tests_properties(ui.scale_${scale} app.scale_${scale}
                       PROPERTIES TIMEOUT 120 ENVIRONMENT QT_SCALE_FACTOR=${scale})
endforeach()

# What a desktop reads of the program. Without a validator its test is skipped, and says so.
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
function(validate name tool)
  find_program(validator_${name} ${tool})
  if(validator_${name})
    add_test(NAME packaging.${name} COMMAND ${validator_${name}} ${ARGN})
    set_tests_properties(packaging.${name}
                         PROPERTIES FAIL_REGULAR_EXPRESSION "error:;warning:;hint:")
  else()
    add_test(NAME packaging.${name} COMMAND ${CMAKE_COMMAND} -E echo "skipped: no ${tool} here")
    set_tests_properties(packaging.${name} PROPERTIES SKIP_REGULAR_EXPRESSION "^skipped:")
  endif()
endfunction()
validate(desktop desktop-file-validate ${packaging}/example.tolvane.Tolvane.desktop)
validate(metainfo appstreamcli validate --no-net ${packaging}/example.tolvane.Tolvane.metainfo.xml)

find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter)
add_test(NAME packaging.install
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/packaging/check_install.py
                 ${CMAKE_COMMAND} ${PROJECT_BINARY_DIR} ${PROJECT_VERSION})
set_tests_properties(packaging.install PROPERTIES TIMEOUT 60
                                                  ENVIRONMENT PYTHONDONTWRITEBYTECODE=1)
