# SPDX-License-Identifier: MIT
# The tests of the folders that see the toolkit.
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
  gtest_discover_tests(tolvane_${name}_tests DISCOVERY_MODE PRE_TEST
                       PROPERTIES TIMEOUT 300 ENVIRONMENT "TOLVANE_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
endfunction()

tolvane_window_tests(ui tolvane_ui)
tolvane_window_tests(app tolvane_app Qt6::Svg SQLite::SQLite3)
