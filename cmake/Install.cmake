# What a host's developer installs: the libraries, their headers, the program and a package to find them by.
include(CMakePackageConfigHelpers)

install(TARGETS qzfl qzflstorageprovider qzstorageinmemoryprovider EXPORT qzstorageTargets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/hostapi ${PROJECT_SOURCE_DIR}/inmemoryprovider
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qzstorage
    FILES_MATCHING PATTERN "*.h"
    PATTERN "defaults" EXCLUDE)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/qzstorage)
install(EXPORT qzstorageTargets NAMESPACE qzstorage:: DESTINATION ${package_folder})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/qzstorageConfig.cmake.in
    ${PROJECT_BINARY_DIR}/qzstorageConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qzstorageConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qzstorageConfig.cmake ${PROJECT_BINARY_DIR}/qzstorageConfigVersion.cmake
    DESTINATION ${package_folder})
