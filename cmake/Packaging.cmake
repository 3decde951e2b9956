# Debian packages with CPack (make deb): one package per install component,
# named nidmask_<version>_<arch>.deb and so on, for /usr. The dependencies on
# shared libraries (libc, libstdc++, libsqlite3, libcsv, and libssl or
# libtomlplusplus once they are linked) are computed by dpkg-shlibdeps from
# the installed binaries; nidmask_debian_package adds what it cannot see.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME nidmask)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "nidmask developers <nidmask@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_COMPONENTS_ALL "")

# Makes install component `component` the Debian package `package`:
#   nidmask_debian_package(COMPONENT PACKAGE SECTION SUMMARY DESCRIPTION [DEPENDS text])
# DEPENDS is added to what dpkg-shlibdeps finds (e.g. "nidmask (= 1.0.0), postgresql-15").
function(nidmask_debian_package component package section summary description)
  cmake_parse_arguments(PARSE_ARGV 5 arg "" "DEPENDS" "")
  string(TOUPPER ${component} c)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
  set(CPACK_DEBIAN_${c}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${c}_FILE_NAME DEB-DEFAULT PARENT_SCOPE)
  set(CPACK_DEBIAN_${c}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${c}_PACKAGE_DEPENDS "${arg_DEPENDS}" PARENT_SCOPE)
  set(CPACK_COMPONENT_${c}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
endfunction()

nidmask_debian_package(nidmask nidmask utils
  "mask national identification numbers in files, CSV and SQLite tables"
  "nidmask masks French, Italian, United Kingdom, Spanish, United States and
Canadian national identification numbers, deterministically and keeping their
format, or generates well-formed random ones. It runs the masking provider
library (installed in /usr/lib/nidmask, where a data-privacy engine can load
it) over files of one value per line, a column of a CSV file, or a column of a
SQLite table masked in place. The package also holds the host kit (static
library, headers, CMake package and pkg-config file) for programs that drive
the provider themselves.")

# The PostgreSQL extension (pg/, where it is built): nidmask.so and the
# extension's files for Debian's postgresql-15; it loads the provider of the
# nidmask package.
if(TARGET nidmask_pg)
  nidmask_debian_package(pg postgresql-15-nidmask database
    "nidmask for PostgreSQL 15: SQL functions that mask national identification numbers"
    "The nidmask extension runs the nidmask masking provider inside the server:
nidmask.mask(country, value, options) and its shorthands mask a column in one
UPDATE or through a view, nidmask.random generates values, nidmask.encrypt and
nidmask.decrypt apply keyed, format-keeping encryption, and nidmask.is_valid
and nidmask.check validate. CREATE EXTENSION nidmask in each database."
    DEPENDS "nidmask (= ${PROJECT_VERSION}), postgresql-15")
endif()

include(CPack)
