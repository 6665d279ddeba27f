# Builds Debian packages with cpack, one per component.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qzstorage)
set(CPACK_PACKAGE_CONTACT "The qzstorage authors <authors@qzstorage.example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL libraries plugin development tool documentation)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# The project's own revision, lower than every revision of a distribution.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0qzstorage1)
set(CPACK_DEBIAN_PACKAGE_SOURCE qzstorage)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_POST_BUILD_SCRIPTS ${packaged}/LeaveLdconfigToTrigger.cmake)

set(debian_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

# The texts of every package. The topmost release of the change log is the packaged one.
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md releases REGEX "^## ")
list(GET releases 0 release)
if(NOT release MATCHES "^## ([0-9.]+) - ([0-9-]+)$" OR NOT CMAKE_MATCH_1 VERSION_EQUAL PROJECT_VERSION)
    message(FATAL_ERROR "CHANGELOG.md begins with \"${release}\"; it must begin with \"## ${PROJECT_VERSION} - DATE\"")
endif()
execute_process(COMMAND date --utc --rfc-email --date=${CMAKE_MATCH_2}
    OUTPUT_VARIABLE release_date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(${packaged}/changelog.Debian.in ${PROJECT_BINARY_DIR}/changelog.Debian @ONLY)
compress(${PROJECT_BINARY_DIR}/changelog.Debian changelog.Debian.gz)
compress(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)

file(READ ${PROJECT_SOURCE_DIR}/LICENSE license)
string(REGEX MATCH "\nCopyright \\(c\\) ([^\n]*)\n+(.*)$" license "${license}")
set(copyright_holders ${CMAKE_MATCH_1})
string(STRIP "${CMAKE_MATCH_2}" license_text)
string(REPLACE "\n\n" "\n.\n" license_text "${license_text}")
string(REPLACE "\n" "\n " license_text "${license_text}")
configure_file(${packaged}/copyright.in ${PROJECT_BINARY_DIR}/copyright @ONLY)

# Declares the package of a component.
#   SECTION      of the archive
#   SUMMARY      the first line of the description, in the archive's style
#   DESCRIPTION  the following lines of the description
#   NEEDS        required packages of this version
#   ALSO_NEEDS   other required packages; dependencies of the binaries are detected
#   BINARIES     set if the package has any
#   LIBRARIES    those that other programs may link
function(package component name)
    cmake_parse_arguments(PARSE_ARGV 2 arg "BINARIES" "SECTION;SUMMARY;DESCRIPTION" "NEEDS;ALSO_NEEDS;LIBRARIES")
    string(TOUPPER ${component} key)
    list(TRANSFORM arg_NEEDS APPEND " (= ${debian_version})")
    list(JOIN arg_NEEDS ", " needs)
    list(JOIN arg_ALSO_NEEDS ", " also_needs)
    string(JOIN ", " depends ${needs} ${also_needs})

    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${arg_SECTION} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${arg_SUMMARY}\n${arg_DESCRIPTION}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SHLIBDEPS ${arg_BINARIES} PARENT_SCOPE)
    if(arg_LIBRARIES)
        set(shlibs ${PROJECT_BINARY_DIR}/${name}/shlibs)
        list(TRANSFORM arg_LIBRARIES REPLACE "(.+)"
            "lib\\1 ${PROJECT_VERSION_MAJOR} ${name} (>= ${debian_version})\n" OUTPUT_VARIABLE lines)
        list(JOIN lines "" lines)
        file(WRITE ${shlibs} "${lines}")
        set(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA "${shlibs};${packaged}/triggers" PARENT_SCOPE)
    endif()

    install(FILES
            ${PROJECT_BINARY_DIR}/copyright
            ${PROJECT_BINARY_DIR}/changelog.gz
            ${PROJECT_BINARY_DIR}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
    if(EXISTS ${packaged}/lintian-overrides/${name})
        install(FILES ${packaged}/lintian-overrides/${name}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component})
    endif()
endfunction()

package(libraries libqzfl1
    SECTION libs
    BINARIES
    LIBRARIES qzfl qzflstorageprovider
    SUMMARY "interface between hosts and storage-provider plug-ins"
    DESCRIPTION "A storage provider is a plug-in that gives a host application a kind of
storage: folders and files behind one abstract C++ interface. These libraries
contain the interface, its value types and the default operations.")

package(plugin libqzstorageinmemoryprovider1
    SECTION libs
    BINARIES
    LIBRARIES qzstorageinmemoryprovider
    NEEDS libqzfl1
    SUMMARY "storage-provider plug-in for files in memory"
    DESCRIPTION "A whole file system in memory for host applications that load
storage-provider plug-ins: folders and files with bytes, times and a writable
flag. Everything is freed with the provider object. Thread-safe.")

package(development libqzstorage-dev
    SECTION libdevel
    NEEDS libqzfl1 libqzstorageinmemoryprovider1
    ALSO_NEEDS libboost-dev
    SUMMARY "storage-provider plug-ins - development files"
    DESCRIPTION "For developers of storage-provider plug-ins and of programs that load them:
the headers of the interface and of the in-memory provider, CMake package and
pkg-config files.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "qzstorage, qzstorage-doc")

package(tool qzstorage
    SECTION utils
    BINARIES
    NEEDS libqzfl1 libqzstorageinmemoryprovider1
    SUMMARY "use, mount and validate storage-provider plug-ins"
    DESCRIPTION "Loads a storage-provider plug-in, by default the in-memory one. Has a shell
and scripts with import, export and comparison, mounts the storage for every
program, and checks the plug-in against the rules of the contract.")
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS fuse3)
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS qzstorage-doc)

package(documentation qzstorage-doc
    SECTION doc
    SUMMARY "storage-provider plug-ins - guides, reference and examples"
    DESCRIPTION "Guides for developers of hosts and of storage-provider plug-ins, the
reference of the interface, and examples to build.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)

include(CPack)
