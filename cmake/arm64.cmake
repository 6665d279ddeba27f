# Compiles for Linux on ARM64 with Debian's cross compiler, against the packages that cmake/arm64-root
# unpacks. The tests run in QEMU's user mode emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

get_filename_component(root ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-root ABSOLUTE)
if(NOT EXISTS ${root}/packages)
    message(FATAL_ERROR "${root} is missing or incomplete; run cmake/arm64-root")
endif()
set(CMAKE_FIND_ROOT_PATH ${root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${root}/usr/lib/aarch64-linux-gnu/pkgconfig:${root}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${root})
# Folders of indirect dependencies.
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-Wl,-rpath-link,${root}/usr/lib/aarch64-linux-gnu:${root}/lib/aarch64-linux-gnu")

# The C and C++ libraries come with the cross compiler.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)
