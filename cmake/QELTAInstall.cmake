# Installation: the library, its public headers, the CMake package QELTABase and a pkg-config file.

include(CMakePackageConfigHelpers)

set(QELTA_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/QELTABase)

install(TARGETS QELTABase
    EXPORT QELTABaseTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QELTA)

# Public headers only, and the tables they include (*.def): Internal/ and the platform
# implementations stay private.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Base
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QELTA
    FILES_MATCHING PATTERN "*.h" PATTERN "*.def"
    PATTERN "Internal" EXCLUDE
    PATTERN "Posix" EXCLUDE)

install(EXPORT QELTABaseTargets
    NAMESPACE QELTA::
    DESTINATION ${QELTA_INSTALL_CMAKEDIR})

configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/QELTABaseConfig.cmake.in
    ${PROJECT_BINARY_DIR}/QELTABaseConfig.cmake
    INSTALL_DESTINATION ${QELTA_INSTALL_CMAKEDIR})
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/QELTABaseConfigVersion.cmake
    VERSION ${PROJECT_VERSION}
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/QELTABaseConfig.cmake
    ${PROJECT_BINARY_DIR}/QELTABaseConfigVersion.cmake
    DESTINATION ${QELTA_INSTALL_CMAKEDIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/QELTABase.pc.in ${PROJECT_BINARY_DIR}/QELTABase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/QELTABase.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(QELTA_BUILD_TOOLS)
    install(TARGETS qelta RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
