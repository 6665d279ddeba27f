# Warnings and sanitizers. Every target of the project links this library; it is not installed.
add_library(qzstorage_compiler_settings INTERFACE)
target_compile_options(qzstorage_compiler_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    # See hostapi/ThreadSafetyAnnotations.h.
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Wno-thread-safety-attributes>)

# Linked by the libraries with measured coverage. Clang's source-based coverage also counts branches.
add_library(qzstorage_coverage INTERFACE)
if(QZSTORAGE_COVERAGE)
    target_compile_options(qzstorage_coverage INTERFACE
        -fprofile-instr-generate=${PROJECT_BINARY_DIR}/profiles/%4m.profraw -fcoverage-mapping)
    target_link_options(qzstorage_coverage INTERFACE -fprofile-instr-generate)
endif()

# The check of virtual calls requires type information of classes that the plug-in hides.
if(QZSTORAGE_SANITIZE)
    target_compile_options(qzstorage_compiler_settings INTERFACE
        -fsanitize=${QZSTORAGE_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_definitions(qzstorage_compiler_settings INTERFACE QZSTORAGE_SANITIZED)
    target_link_options(qzstorage_compiler_settings INTERFACE -fsanitize=${QZSTORAGE_SANITIZE})
endif()

# Linked by the code under fuzzing, for coverage feedback.
add_library(qzstorage_fuzzing INTERFACE)
if(QZSTORAGE_FUZZ)
    target_compile_options(qzstorage_fuzzing INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The presets release and package compile the same code; a compiler cache compiles it only once. Their paths
# differ, so the cache uses paths relative to the build folder. In depend mode a miss does not run the
# preprocessor a second time.
find_program(QZSTORAGE_COMPILER_CACHE ccache)
if(QZSTORAGE_COMPILER_CACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER AND NOT QZSTORAGE_SANITIZE AND NOT QZSTORAGE_COVERAGE)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_DEPEND=true ${QZSTORAGE_COMPILER_CACHE})
endif()
