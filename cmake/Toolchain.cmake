# SPDX-License-Identifier: Apache-2.0

# Warnings, hardening, sanitizers and coverage, gathered in one interface target that every target
# of the project links: autoresponder_options.

add_library(autoresponder_options INTERFACE)
target_include_directories(autoresponder_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(autoresponder_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${AUTORESPONDER_WARNINGS_AS_ERRORS}>:-Werror>)
# File sizes have 64 bits on 32-bit systems, too.
target_compile_definitions(autoresponder_options INTERFACE _FILE_OFFSET_BITS=64)

# The program runs as root on mail from strangers.
set(hardened "$<CONFIG:Release,RelWithDebInfo>")
target_compile_options(autoresponder_options INTERFACE
    "$<${hardened}:-fstack-protector-strong;-fstack-clash-protection;-D_FORTIFY_SOURCE=2>"
    "$<${hardened}:-D_GLIBCXX_ASSERTIONS>")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    target_compile_options(autoresponder_options INTERFACE "$<${hardened}:-fcf-protection=full>")
endif()
target_link_options(autoresponder_options INTERFACE
    "$<${hardened}:LINKER:-z,relro,-z,now,-z,noexecstack,--as-needed>")
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)

# A process is started for each message: what it does not use need not be loaded, and position
# independence costs less when its relocations are packed.
target_compile_options(autoresponder_options INTERFACE
    "$<${hardened}:-ffunction-sections;-fdata-sections>")
target_link_options(autoresponder_options INTERFACE "$<${hardened}:LINKER:--gc-sections>")
include(CheckLinkerFlag)
check_linker_flag(CXX LINKER:-z,pack-relative-relocs PACKS_RELATIVE_RELOCATIONS)
if(PACKS_RELATIVE_RELOCATIONS)
    target_link_options(autoresponder_options INTERFACE
        "$<${hardened}:LINKER:-z,pack-relative-relocs>")
endif()

if(AUTORESPONDER_SANITIZE)
    set(sanitize -fsanitize=${AUTORESPONDER_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    target_compile_options(autoresponder_options INTERFACE ${sanitize})
    target_link_options(autoresponder_options INTERFACE ${sanitize})
endif()

if(AUTORESPONDER_COVERAGE)
    target_compile_options(autoresponder_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(autoresponder_options INTERFACE --coverage)
endif()
