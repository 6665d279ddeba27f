# Warnings and sanitizers for every target of the project; linked by each of them, never installed.
add_library(qzstorage_compiler_settings INTERFACE)
target_compile_options(qzstorage_compiler_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Wno-thread-safety-attributes>) # see hostapi/ThreadSafetyAnnotations.h

# For the libraries whose coverage is measured; clang's own counters, which know branches too.
add_library(qzstorage_coverage INTERFACE)
if(QZSTORAGE_COVERAGE)
    target_compile_options(qzstorage_coverage INTERFACE
        -fprofile-instr-generate=${PROJECT_BINARY_DIR}/profiles/%4m.profraw -fcoverage-mapping)
    target_link_options(qzstorage_coverage INTERFACE -fprofile-instr-generate)
endif()

# The check of vtable pointers wants the type information of classes that the plug-in hides.
if(QZSTORAGE_SANITIZE)
    target_compile_options(qzstorage_compiler_settings INTERFACE
        -fsanitize=${QZSTORAGE_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_definitions(qzstorage_compiler_settings INTERFACE QZSTORAGE_SANITIZED)
    target_link_options(qzstorage_compiler_settings INTERFACE -fsanitize=${QZSTORAGE_SANITIZE})
endif()

# For the code that the fuzz targets are to explore.
add_library(qzstorage_fuzzing INTERFACE)
if(QZSTORAGE_FUZZ)
    target_compile_options(qzstorage_fuzzing INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The presets release and package compile the same code; where there is a compiler cache, only once.
find_program(QZSTORAGE_COMPILER_CACHE ccache)
if(QZSTORAGE_COMPILER_CACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER AND NOT QZSTORAGE_SANITIZE AND NOT QZSTORAGE_COVERAGE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${QZSTORAGE_COMPILER_CACHE})
endif()
