# SPDX-License-Identifier: Apache-2.0

# Optimising the tests themselves would take longer than running them, and so would looking for
# undefined behaviour in their own code.
add_library(test_options INTERFACE)
target_compile_options(test_options INTERFACE
    -O0 -U_FORTIFY_SOURCE $<$<NOT:$<CONFIG:Debug>>:-g1>)
if(AUTORESPONDER_SANITIZE MATCHES "undefined")
    target_compile_options(test_options INTERFACE -fno-sanitize=undefined)
endif()

# Half of the time that a test takes to compile goes into these headers. (The debug preset reads them
# anew in each file, which shows an include that is missing.)
set(test_headers
    <gmock/gmock.h> <gtest/gtest.h>
    <algorithm> <array> <filesystem> <fstream> <functional> <memory> <optional> <sstream> <string>
    <string_view> <thread> <vector>)
file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/test_headers.cpp" "")
add_library(test_headers OBJECT "${CMAKE_CURRENT_BINARY_DIR}/test_headers.cpp")
target_link_libraries(test_headers PRIVATE autoresponder_options test_options GTest::gmock)
# They serve executables only with code generated as for one.
set_target_properties(test_headers PROPERTIES POSITION_INDEPENDENT_CODE OFF)
target_compile_options(test_headers PRIVATE -fPIE)
target_precompile_headers(test_headers PRIVATE ${test_headers})

# Seconds. The slowest takes two; instrumented and on a busy machine they take their time.
set(unit_test_timeout 60)
if(AUTORESPONDER_SANITIZE OR AUTORESPONDER_COVERAGE)
    set(unit_test_timeout 240)
endif()

# add_unit_test(NAME <name> SOURCES <files> LIBRARIES <targets>)
# A GoogleTest program of the name given, registered with CTest as one test of that name.
function(add_unit_test)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES")
    set(c_sources ${arg_SOURCES})
    list(FILTER c_sources INCLUDE REGEX "\\.c$")
    add_executable(${arg_NAME} ${arg_SOURCES})
    target_link_libraries(${arg_NAME} PRIVATE
        ${arg_LIBRARIES} autoresponder_options test_options GTest::gmock GTest::gtest_main)
    target_precompile_headers(${arg_NAME} REUSE_FROM test_headers)
    set_source_files_properties(${c_sources} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    add_test(NAME ${arg_NAME} COMMAND ${arg_NAME})
    set_tests_properties(${arg_NAME} PROPERTIES TIMEOUT ${unit_test_timeout})
endfunction()
