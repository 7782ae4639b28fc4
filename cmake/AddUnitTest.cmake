# Optimising the tests themselves would take longer than running them.
add_library(test_options INTERFACE)
target_compile_options(test_options INTERFACE
    -O0 -U_FORTIFY_SOURCE $<$<NOT:$<CONFIG:Debug>>:-g1>)

# Seconds. The slowest takes two; instrumented and on a busy machine they take their time.
set(unit_test_timeout 60)
if(AUTORESPONDER_SANITIZE OR AUTORESPONDER_COVERAGE)
    set(unit_test_timeout 240)
endif()

# add_unit_test(NAME <name> SOURCES <files> LIBRARIES <targets>)
# A GoogleTest program of the name given, registered with CTest as one test of that name.
function(add_unit_test)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME" "SOURCES;LIBRARIES")
    add_executable(${arg_NAME} ${arg_SOURCES})
    target_link_libraries(${arg_NAME} PRIVATE
        ${arg_LIBRARIES} autoresponder_options test_options GTest::gmock GTest::gtest_main)
    add_test(NAME ${arg_NAME} COMMAND ${arg_NAME})
    set_tests_properties(${arg_NAME} PROPERTIES TIMEOUT ${unit_test_timeout})
endfunction()
