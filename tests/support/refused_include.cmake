# SPDX-License-Identifier: Apache-2.0
# Compiles SOURCE, which includes HEADER, with the include folders of a target: it must not be found.
set(flags)
foreach(folder IN LISTS INCLUDES)
  list(APPEND flags -I${folder})
endforeach()
file(WRITE ${SOURCE} "#include \"${HEADER}\"\n")
execute_process(COMMAND ${COMPILER} -std=c++17 -fsyntax-only ${flags} ${SOURCE}
  RESULT_VARIABLE result ERROR_VARIABLE errors)
if(result EQUAL 0)
  message(FATAL_ERROR "${HEADER} can be included")
elseif(NOT errors MATCHES "${HEADER}: No such file")
  message(FATAL_ERROR "failed for another reason:\n${errors}")
endif()
