# SPDX-License-Identifier: Apache-2.0
# zelumo_warnings(TARGET): the warnings that all of the tree is held to. In the presets of developers and CI they are errors.
# Clang also checks that locks are held where the annotations want them.
function(zelumo_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wformat=2
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
endfunction()
