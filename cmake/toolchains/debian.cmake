# SPDX-License-Identifier: Apache-2.0
# Debian's cross compiler for `triplet`, with the system of that architecture that `cmake/sysroot ARCH` has put into
# build/sysroot, and qemu to run what was built. Included by the file of each architecture.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${arch})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${qemu} -L ${CMAKE_SYSROOT})
