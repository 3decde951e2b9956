# Install rules. An installed tree is relocatable: nidmask finds its libraries
# through a run path relative to itself ($ORIGIN) and the provider through
# ../lib/nidmask beside itself; the CMake package and the pkg-config file
# locate the prefix from their own place. Layout under the prefix:
#   bin/nidmask
#   lib/nidmask/      the provider (its file name unchanged, for engines), the
#                     three stand-in libraries, the host kit (static)
#   lib/cmake/nidmask/, lib/pkgconfig/nidmask.pc
#   include/qrnp/     the host ABI; include/nidmask/ the host kit's headers
#   share/man/man1/nidmask.1.gz, share/bash-completion/completions/nidmask,
#   share/doc/nidmask/ (README, examples)
# Everything belongs to the component `nidmask` (the Debian package of that
# name, see Packaging.cmake).
include(CMakePackageConfigHelpers)

# Private: the libraries are the tool's own, not the system's.
set(NIDMASK_INSTALL_LIBDIR lib/nidmask)
set(NIDMASK_INSTALL_CMAKEDIR lib/cmake/nidmask)
set(NIDMASK_INSTALL_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/nidmask)

file(RELATIVE_PATH _nidmask_bin_to_lib /${CMAKE_INSTALL_BINDIR} /${NIDMASK_INSTALL_LIBDIR})
set(_nidmask_libraries QRNNIDPrvLib QRNPOSLibUnix QRNPDataCnvLib QRNProvider)
set_target_properties(${_nidmask_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(QRNNIDPrvLib PROPERTIES EXPORT_NAME provider)
set_target_properties(qrnp_abi PROPERTIES EXPORT_NAME abi)

set(_nidmask_installed ${_nidmask_libraries} hostkit qrnp_abi)
if(TARGET nidmask)
  set_target_properties(nidmask PROPERTIES INSTALL_RPATH "$ORIGIN/${_nidmask_bin_to_lib}")
  list(APPEND _nidmask_installed nidmask)
endif()

install(TARGETS ${_nidmask_installed} EXPORT nidmaskTargets COMPONENT nidmask
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${NIDMASK_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${NIDMASK_INSTALL_LIBDIR})
install(DIRECTORY include/qrnp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT nidmask)
file(GLOB _nidmask_hostkit_headers ${CMAKE_SOURCE_DIR}/host/kit/*.h)
install(FILES ${_nidmask_hostkit_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nidmask COMPONENT nidmask)

# find_package(nidmask): nidmask::hostkit, nidmask::abi, nidmask::provider,
# the stand-ins, and nidmask_PROVIDER (the provider's installed path).
install(EXPORT nidmaskTargets NAMESPACE nidmask:: DESTINATION ${NIDMASK_INSTALL_CMAKEDIR} COMPONENT nidmask)
configure_package_config_file(cmake/nidmaskConfig.cmake.in ${CMAKE_BINARY_DIR}/cmake/nidmaskConfig.cmake
                              INSTALL_DESTINATION ${NIDMASK_INSTALL_CMAKEDIR}
                              PATH_VARS NIDMASK_INSTALL_LIBDIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cmake/nidmaskConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/cmake/nidmaskConfig.cmake ${CMAKE_BINARY_DIR}/cmake/nidmaskConfigVersion.cmake
        DESTINATION ${NIDMASK_INSTALL_CMAKEDIR} COMPONENT nidmask)

# pkg-config: the prefix is found from the file's own directory.
set(_nidmask_pc_to_prefix ../..)  # from lib/pkgconfig
configure_file(cmake/nidmask.pc.in ${CMAKE_BINARY_DIR}/cmake/nidmask.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/cmake/nidmask.pc DESTINATION lib/pkgconfig COMPONENT nidmask)

# The man page, compressed as Debian ships them (-n: no name or time stamp).
add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/doc/nidmask.1.gz
                   COMMAND ${CMAKE_COMMAND} -E copy ${CMAKE_SOURCE_DIR}/doc/nidmask.1 ${CMAKE_BINARY_DIR}/doc/nidmask.1
                   COMMAND gzip -9nf ${CMAKE_BINARY_DIR}/doc/nidmask.1
                   DEPENDS ${CMAKE_SOURCE_DIR}/doc/nidmask.1
                   VERBATIM)
add_custom_target(nidmask_man ALL DEPENDS ${CMAKE_BINARY_DIR}/doc/nidmask.1.gz)
install(FILES ${CMAKE_BINARY_DIR}/doc/nidmask.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT nidmask)

install(FILES completion/nidmask.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME nidmask COMPONENT nidmask)
install(FILES README.md DESTINATION ${NIDMASK_INSTALL_DOCDIR} COMPONENT nidmask)
install(DIRECTORY examples DESTINATION ${NIDMASK_INSTALL_DOCDIR} COMPONENT nidmask)

# What `make install` builds first (cmake --install builds nothing).
add_custom_target(nidmask_installables DEPENDS ${_nidmask_installed} nidmask_man)
