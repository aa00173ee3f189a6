# SPDX-License-Identifier: Apache-2.0
set(arch arm64)
set(triplet aarch64-linux-gnu)
set(qemu /usr/bin/qemu-aarch64)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
