# Cross build for 32-bit ARM hard-float with Debian's crossbuild-essential-armhf.
# The armhf builds of the dependencies come from a sysroot folder made by
# scripts/armhf-sysroot.sh; tests run under qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

if(NOT LUM_ARMHF_SYSROOT)
  get_filename_component(LUM_ARMHF_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/armhf-sysroot" ABSOLUTE)
endif()
set(LUM_ARMHF_SYSROOT "${LUM_ARMHF_SYSROOT}" CACHE PATH "Folder the armhf packages are unpacked into")
set(LUM_ARMHF_LIBDIR "${LUM_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf")

set(CMAKE_FIND_ROOT_PATH "${LUM_ARMHF_SYSROOT}" /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# log4cplus is found through pkg-config; point it at the sysroot only.
set(ENV{PKG_CONFIG_DIR} "")
set(ENV{PKG_CONFIG_LIBDIR} "${LUM_ARMHF_LIBDIR}/pkgconfig:${LUM_ARMHF_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${LUM_ARMHF_SYSROOT}")

set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${LUM_ARMHF_LIBDIR}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath-link,${LUM_ARMHF_LIBDIR}")

set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-arm;-L;/usr/arm-linux-gnueabihf" CACHE STRING "")
