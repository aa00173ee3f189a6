# SPDX-License-Identifier: Apache-2.0
set(arch armhf)
set(triplet arm-linux-gnueabihf)
set(qemu /usr/bin/qemu-arm)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
