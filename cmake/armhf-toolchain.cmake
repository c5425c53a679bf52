# 32-bit ARM, hard float, NEON: the embedded cameras the library is made for.
# Tests run under qemu-arm with the cross toolchain's own sysroot.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(ZELVORA_ARMHF_TRIPLE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER ${ZELVORA_ARMHF_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${ZELVORA_ARMHF_TRIPLE}-g++)
set(CMAKE_C_FLAGS_INIT "-march=armv7-a -mfpu=neon -mfloat-abi=hard")
set(CMAKE_CXX_FLAGS_INIT "-march=armv7-a -mfpu=neon -mfloat-abi=hard")

set(ZELVORA_ARMHF_SYSROOT /usr/${ZELVORA_ARMHF_TRIPLE})
set(CMAKE_FIND_ROOT_PATH ${ZELVORA_ARMHF_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${ZELVORA_ARMHF_SYSROOT})
