# SPDX-License-Identifier: Apache-2.0

# Seconds that each fuzz target runs as a test.
set(AUTORESPONDER_FUZZ_SECONDS 2 CACHE STRING "Length of each fuzz target's run under CTest")
math(EXPR fuzz_timeout "${AUTORESPONDER_FUZZ_SECONDS} + 240")

# All fuzz targets, and no more of the rest than they need.
add_custom_target(fuzz_targets)

# add_fuzz_target(NAME <name> SOURCES <files> LIBRARIES <targets> [CORPUS <directory>]
#                 [OPTIONS <libFuzzer options>])
# A libFuzzer program. CORPUS is a directory of seeds in the source tree; a run never writes there:
# what it finds goes to <build>/corpus/<name>.
function(add_fuzz_target)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "NAME;CORPUS" "SOURCES;LIBRARIES;OPTIONS")
    add_executable(${arg_NAME} ${arg_SOURCES})
    target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBRARIES} autoresponder_options)
    add_dependencies(fuzz_targets ${arg_NAME})
    target_compile_options(${arg_NAME} PRIVATE -fsanitize=fuzzer)
    target_link_options(${arg_NAME} PRIVATE -fsanitize=fuzzer)
    set(found "${PROJECT_BINARY_DIR}/corpus/${arg_NAME}")
    file(MAKE_DIRECTORY "${found}")
    add_test(NAME ${arg_NAME} COMMAND ${arg_NAME}
        -max_total_time=${AUTORESPONDER_FUZZ_SECONDS} -timeout=10 -print_final_stats=1
        ${arg_OPTIONS} "${found}" ${arg_CORPUS})
    set_tests_properties(${arg_NAME} PROPERTIES LABELS fuzz TIMEOUT ${fuzz_timeout})
endfunction()
