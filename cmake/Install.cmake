# The installed files and their components. Each component except "texts" is a separate package, see
# Package.cmake.
include(CMakePackageConfigHelpers)

set(packaged ${PROJECT_SOURCE_DIR}/packaging)

# libNAME.so -> libNAME.so.1 -> libNAME.so.1.0.0. docs/versioning.md defines when the major number is raised.
set_target_properties(qzfl qzflstorageprovider qzstorageinmemoryprovider PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})

install(TARGETS qzfl qzflstorageprovider EXPORT qzstorageTargets
    LIBRARY COMPONENT libraries NAMELINK_COMPONENT development)
# Hosts load the plug-in by its unversioned name, so that name does not belong to the development package.
install(TARGETS qzstorageinmemoryprovider EXPORT qzstorageTargets LIBRARY COMPONENT plugin)
install(TARGETS qzstorage RUNTIME COMPONENT tool)

# mount(8) finds this name for the type fuse.qzstorage.
install(CODE "
    set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_SBINDIR}\")
    file(MAKE_DIRECTORY \"\${folder}\")
    file(CREATE_LINK ../${CMAKE_INSTALL_BINDIR}/qzstorage \"\${folder}/mount.fuse.qzstorage\" SYMBOLIC)"
    COMPONENT tool)

# The plug-in's headers: PluginEntry.h and everything that it includes. A forward declaration of
# InMemoryProvider would not be enough: hosts convert the returned pointer to an IProvider pointer, which
# requires the complete class, and the class contains the tree by value.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/hostapi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qzstorage
    COMPONENT development
    FILES_MATCHING PATTERN "*.h"
    PATTERN "defaults" EXCLUDE
    PATTERN "ProviderOperations.h" EXCLUDE)
foreach(header
        InMemoryProvider
        PluginEntry
        filesystem/FileEntryAttributes
        filesystem/FolderEntryAttributes
        filesystem/InMemoryEntry
        filesystem/InMemoryEntryPath
        filesystem/InMemoryFileEntry
        filesystem/InMemoryFileSystem
        filesystem/InMemoryFolderEntry
        filesystem/IndexedPathMap
        filesystem/LeftRightMap
        filesystem/MapNode
        filesystem/MutexLock
        filesystem/PathHash
        filesystem/PathIndex
        filesystem/PathIndexSegment
        filesystem/PathSeqLock
        filesystem/PowerOfTwo
        filesystem/Processors
        filesystem/SpinWait)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${PROJECT_SOURCE_DIR}/inmemoryprovider/${header}.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qzstorage/inmemoryprovider/${folder}
        COMPONENT development)
endforeach()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/qzstorage)
install(EXPORT qzstorageTargets NAMESPACE qzstorage:: DESTINATION ${package_folder} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/qzstorageConfig.cmake.in
    ${PROJECT_BINARY_DIR}/qzstorageConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qzstorageConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qzstorageConfig.cmake ${PROJECT_BINARY_DIR}/qzstorageConfigVersion.cmake
    DESTINATION ${package_folder} COMPONENT development)

# The pkg-config files. The prefix is known only at installation. It is an absolute path, because pkg-config
# omits the compiler's default folders only if it recognizes them.
function(install_pkg_config name description requires)
    set(installation_prefix @CMAKE_INSTALL_PREFIX@)
    set(template ${PROJECT_BINARY_DIR}/${name}.pc.in)
    configure_file(${packaged}/library.pc.in ${template} @ONLY)
    install(CODE "configure_file(${template} ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)" COMPONENT development)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
endfunction()
install_pkg_config(qzfl "Exceptions and text conversion of storage providers" "")
install_pkg_config(qzflstorageprovider "Interface between hosts and storage-provider plug-ins" qzfl)
install_pkg_config(qzstorageinmemoryprovider "Storage provider for files in memory" qzflstorageprovider)

# Writes `source`, compressed as Debian requires, to `result` in the build folder.
function(compress source result)
    find_program(GZIP_PROGRAM gzip REQUIRED)
    execute_process(COMMAND ${GZIP_PROGRAM} -9 --no-name --to-stdout ${source}
        OUTPUT_FILE ${PROJECT_BINARY_DIR}/${result} COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
endfunction()

configure_file(${PROJECT_SOURCE_DIR}/docs/qzstorage.1 ${PROJECT_BINARY_DIR}/qzstorage.1 @ONLY)
compress(${PROJECT_BINARY_DIR}/qzstorage.1 qzstorage.1.gz)
install(FILES ${PROJECT_BINARY_DIR}/qzstorage.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
file(WRITE ${PROJECT_BINARY_DIR}/mount.fuse.qzstorage.8 ".so man1/qzstorage.1\n")
compress(${PROJECT_BINARY_DIR}/mount.fuse.qzstorage.8 mount.fuse.qzstorage.8.gz)
install(FILES ${PROJECT_BINARY_DIR}/mount.fuse.qzstorage.8.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT tool)

install(FILES ${PROJECT_SOURCE_DIR}/completion/qzstorage.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME qzstorage COMPONENT tool)
# Debian has a separate folder for packages.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND EXISTS /etc/debian_version)
    set(zsh_folder zsh/vendor-completions)
else()
    set(zsh_folder zsh/site-functions)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/completion/_qzstorage
    DESTINATION ${CMAKE_INSTALL_DATADIR}/${zsh_folder} COMPONENT tool)

# The guides link to the change log, so it is installed with them.
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
    FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.png" PATTERN "*.jsonl")
if(EXISTS ${PROJECT_SOURCE_DIR}/examples)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
endif()
# The API reference, if it was built.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/build/reference DESTINATION ${CMAKE_INSTALL_DOCDIR}
    COMPONENT documentation OPTIONAL)

# Debian packages contain the licence in their copyright file.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT texts)
