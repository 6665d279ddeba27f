# Removes the scripts that call ldconfig, which cpack adds to packages with libraries. Debian uses the trigger
# instead, which these packages have too.
set(folder ${CPACK_TEMPORARY_DIRECTORY}/unpacked)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    execute_process(COMMAND dpkg-deb --info ${package} OUTPUT_VARIABLE contents COMMAND_ERROR_IS_FATAL ANY)
    if(contents MATCHES " postinst ")
        file(REMOVE_RECURSE ${folder})
        execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
        file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
        execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build ${folder} ${package}
            OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
