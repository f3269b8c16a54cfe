# Cross-compiling for Linux on 64-bit Arm with the Debian cross compilers
# (g++-aarch64-linux-gnu); test programs run under qemu-aarch64 (qemu-user)
# with the cross runtime in /usr/aarch64-linux-gnu as their root for the
# dynamic loader and shared libraries.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_AR aarch64-linux-gnu-ar CACHE FILEPATH "" FORCE)
set(CMAKE_RANLIB aarch64-linux-gnu-ranlib CACHE FILEPATH "" FORCE)
set(CMAKE_NM aarch64-linux-gnu-nm CACHE FILEPATH "" FORCE)
set(CMAKE_OBJDUMP aarch64-linux-gnu-objdump CACHE FILEPATH "" FORCE)

set(KV_AARCH64_SYSROOT /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH ${KV_AARCH64_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The loader looks in the cross runtime first: where the multiarch arm64 C
# library is installed too (it brings the iconv converters the cross runtime
# lacks), the system's loader cache would otherwise mix its libraries with
# the cross runtime's loader.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${KV_AARCH64_SYSROOT} -E LD_LIBRARY_PATH=/lib)
