# The card's architecture, 32-bit big-endian PowerPC Linux, with Debian's cross compiler; what is built
# runs under an emulator. GPON_POWERPC_ROOT is where libraries.sh put the libraries for the target.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR
    qemu-ppc -L /usr/powerpc-linux-gnu -E LD_LIBRARY_PATH=${GPON_POWERPC_ROOT}/lib)

# Without 64-bit offsets, reading a folder fails under the emulator on a large file system.
set(CMAKE_C_FLAGS_INIT -D_FILE_OFFSET_BITS=64)
set(CMAKE_CXX_FLAGS_INIT -D_FILE_OFFSET_BITS=64)

# Where the linker looks for the libraries of libraries; what it builds names no such folder.
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,${GPON_POWERPC_ROOT}/lib)

set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES GPON_POWERPC_ROOT)
set(CMAKE_FIND_ROOT_PATH ${GPON_POWERPC_ROOT} /usr/powerpc-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${GPON_POWERPC_ROOT}/lib/pkgconfig)
