# SPDX-License-Identifier: Apache-2.0
# clang, by the newest name that is here: 14 is the version that formats and checks the tree.
find_program(ZELUMO_CLANG NAMES clang++-14 clang++ REQUIRED)
set(CMAKE_CXX_COMPILER ${ZELUMO_CLANG})
