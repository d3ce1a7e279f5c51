# 64-bit Arm with Debian's cross compiler; what is built runs here under qemu's user emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# The target's libraries are those of the cross compiler, or those of a tree of Debian packages, CMAKE_SYSROOT.
set(target_tree /usr/aarch64-linux-gnu)
if(CMAKE_SYSROOT)
  set(target_tree ${CMAKE_SYSROOT})
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
  set(ENV{PKG_CONFIG_LIBDIR}
      ${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig
  )
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${target_tree})

# Libraries, headers and packages of the target alone; programs of this machine.
list(APPEND CMAKE_FIND_ROOT_PATH ${target_tree})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
