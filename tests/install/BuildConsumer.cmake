file(REMOVE_RECURSE ${WORK})
set(installed ${WORK}/installed)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${installed})
run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${CONSUMER} -B ${WORK}/consumer
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_PREFIX_PATH=${installed})
run(${CMAKE_COMMAND} --build ${WORK}/consumer)
run(${WORK}/consumer/consumer ${installed}/${LIBDIR}/libqzstorageinmemoryprovider.so)

# The installed program finds the plug-in that was installed with it.
file(WRITE ${WORK}/script "mkdir /a\nls\n")
execute_process(COMMAND ${installed}/${BINDIR}/qzstorage run ${WORK}/script
    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT output STREQUAL "a\n")
    message(FATAL_ERROR "qzstorage printed: ${output}")
endif()
