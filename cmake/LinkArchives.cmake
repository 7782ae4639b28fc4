# SPDX-License-Identifier: Apache-2.0

# link_archives(<target> <module>...)
# Links the static libraries of pkg-config's modules to an interface target, and those of what they
# need. The C library and its parts stay shared: iconv loads its charsets from the system's.
function(link_archives target)
    pkg_check_modules(${target} REQUIRED ${ARGN})
    set(archives "")
    foreach(library IN LISTS ${target}_STATIC_LIBRARIES)
        if(library MATCHES "^(c|dl|m|pthread|rt)$")
            list(APPEND archives "${library}")
            continue()
        endif()
        find_library(${library}_ARCHIVE "lib${library}.a" HINTS ${${target}_STATIC_LIBRARY_DIRS})
        if(NOT ${library}_ARCHIVE)
            message(FATAL_ERROR "AUTORESPONDER_STATIC_CLIENT needs lib${library}.a, which is not "
                "installed. Install the package that has it, or link the shared libraries.")
        endif()
        list(APPEND archives "${${library}_ARCHIVE}")
    endforeach()
    list(JOIN archives "," archives)
    target_link_libraries(${target} INTERFACE "$<LINK_GROUP:RESCAN,${archives}>")
    target_include_directories(${target} SYSTEM INTERFACE ${${target}_STATIC_INCLUDE_DIRS})
endfunction()
