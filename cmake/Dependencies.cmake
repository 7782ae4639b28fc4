# What is installed and called: MariaDB Connector/C and GNU libidn (iconv is part of glibc), as
# imported targets.

find_package(PkgConfig REQUIRED)
pkg_check_modules(MARIADB REQUIRED IMPORTED_TARGET libmariadb)
pkg_check_modules(LIBIDN REQUIRED IMPORTED_TARGET libidn)
