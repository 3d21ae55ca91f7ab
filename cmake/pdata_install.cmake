# What "cmake --install" puts where, in three components: runtime (programs, the shared library,
# their pages and completions), development (what other programs are built with), data (example
# configuration, tables, schemas, pages on the formats).
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(PDATA_DATA_DIR ${CMAKE_INSTALL_DATADIR}/pdata)
set(PDATA_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/pdata)
set(pdata_manual_in ${PROJECT_SOURCE_DIR}/docs/man)
set(pdata_package_out ${PROJECT_BINARY_DIR}/package)

install(TARGETS pdata pdata_compiler RUNTIME COMPONENT runtime)
install(TARGETS pdata_shared EXPORT pdata
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development)
install(TARGETS pdata_static EXPORT pdata ARCHIVE COMPONENT development)
install(FILES pdata/src/match/include/pdata.h pdata/src/match/include/pdata.hpp
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# Found again by pkg-config and by find_package(pdata), wherever the prefix is moved to.
file(RELATIVE_PATH PDATA_PKGCONFIG_TO_PREFIX
    /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/libpdata.pc.in ${pdata_package_out}/libpdata.pc @ONLY)
configure_package_config_file(cmake/pdata-config.cmake.in ${pdata_package_out}/pdata-config.cmake
    INSTALL_DESTINATION ${PDATA_PACKAGE_DIR})
write_basic_package_version_file(${pdata_package_out}/pdata-config-version.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${pdata_package_out}/libpdata.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(FILES ${pdata_package_out}/pdata-config.cmake
              ${pdata_package_out}/pdata-config-version.cmake
    DESTINATION ${PDATA_PACKAGE_DIR} COMPONENT development)
install(EXPORT pdata NAMESPACE pdata:: FILE pdata-targets.cmake
    DESTINATION ${PDATA_PACKAGE_DIR} COMPONENT development)

# Manual pages and completions: those of the programs are made when the project is built.
configure_file(${pdata_manual_in}/pdata.3.in ${pdata_package_out}/pdata.3 @ONLY)
configure_file(${pdata_manual_in}/pdd.5.in ${pdata_package_out}/pdd.5 @ONLY)
install(DIRECTORY ${PDATA_MANUAL_DIR}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    COMPONENT runtime FILES_MATCHING PATTERN "*.1")
install(FILES ${pdata_package_out}/pdata.3
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
install(FILES ${PDATA_MANUAL_DIR}/pdb.5 ${pdata_package_out}/pdd.5
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT data)
install(FILES ${PDATA_MANUAL_DIR}/pdata.bash RENAME pdata
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
install(FILES ${PDATA_MANUAL_DIR}/_pdata
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT runtime)
install(FILES ${PDATA_MANUAL_DIR}/pdata.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT runtime)

install(DIRECTORY examples docs/schemas data DESTINATION ${PDATA_DATA_DIR} COMPONENT data)
install(FILES docs/pdb.ksy DESTINATION ${PDATA_DATA_DIR} COMPONENT data)
