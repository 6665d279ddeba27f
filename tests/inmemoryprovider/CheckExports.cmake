# Fails unless LIBRARY exports exactly the two entry points.
execute_process(COMMAND ${NM} -D --defined-only --demangle --format=posix ${LIBRARY}
    OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE " [A-Za-z] [0-9a-f]+ [0-9a-f]*\n?" "\n" names "${listing}")
string(STRIP "${names}" names)
string(REPLACE "\n" ";" names "${names}")
list(SORT names)
set(expected "buildProvider_V1;storage::inmemoryprovider::buildInMemoryProvider()")
if(NOT names STREQUAL expected)
    message(FATAL_ERROR "exported: ${names}\nexpected: ${expected}")
endif()
