# SPDX-License-Identifier: Apache-2.0

# The installed libraries that the program calls: MariaDB Connector/C with the OpenSSL that it
# needs, and GNU libidn, as the targets `client_library` and `idn_library` (iconv is part of glibc).

find_package(PkgConfig REQUIRED)

add_library(client_library INTERFACE)
add_library(idn_library INTERFACE)

if(AUTORESPONDER_STATIC_CLIENT)
    include(LinkArchives)
    link_archives(client_library libmariadb libssl)
    link_archives(idn_library libidn)
else()
    pkg_check_modules(MARIADB REQUIRED IMPORTED_TARGET libmariadb)
    pkg_check_modules(CRYPTO REQUIRED IMPORTED_TARGET libcrypto)
    pkg_check_modules(LIBIDN REQUIRED IMPORTED_TARGET libidn)
    # libcrypto first: libraries are searched for a symbol in the order in which they are linked, and
    # most of the symbols that are looked up at the start are used by libcrypto and its own.
    target_link_libraries(client_library INTERFACE PkgConfig::CRYPTO PkgConfig::MARIADB)
    target_link_libraries(idn_library INTERFACE PkgConfig::LIBIDN)
endif()
