# Cross-compilation for the device: 32-bit ARM Linux, hard float.
# The frame walk of a crash report reads APCS frames. They exist in ARM code only (-mapcs-frame is
# ignored without a word where the compiler makes Thumb code), begin as the walk needs them when the
# prologue is not mixed with other instructions, and show every caller when no call takes over the
# frame of its caller.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# -Wno-psabi: no part of a program comes from a compiler that passed arguments in another way.
set(CMAKE_CXX_FLAGS_INIT "-marm -mapcs-frame -fno-omit-frame-pointer -mno-sched-prolog \
-fno-optimize-sibling-calls -Wno-psabi")
# scripts/armhf-setup unpacks TinyXML and GoogleTest there.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
# Runs what was built, on the cross compiler's libraries.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L /usr/arm-linux-gnueabihf)
