# Builds for arm64 with clang and lld, which need no separate cross compiler, and with the libraries
# that scripts/test_arm64 has unpacked.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triple aarch64-linux-gnu)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER_TARGET ${triple})
set(CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -fuse-ld=lld)

cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH root)
set(CMAKE_SYSROOT "${root}/build/arm64-sysroot")
set(CMAKE_MODULE_PATH "${CMAKE_CURRENT_LIST_DIR}/arm64")
set(CMAKE_LIBRARY_ARCHITECTURE ${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${CMAKE_SYSROOT}/usr/lib/${triple}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

# Runs the programs of the build, such as the tests.
find_program(QVR_QEMU qemu-aarch64)
if(QVR_QEMU)
    set(CMAKE_CROSSCOMPILING_EMULATOR "${QVR_QEMU};-L;${CMAKE_SYSROOT}")
endif()
