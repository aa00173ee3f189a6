# SPDX-License-Identifier: Apache-2.0
# zelumo_embed(TARGET FILE SYMBOL HEADER): adds the bytes of FILE to TARGET, as the array SYMBOL and its size
# SYMBOLSize that HEADER declares.
set(ZELUMO_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/embed_file.cmake)
function(zelumo_embed target file symbol header)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${symbol}.cpp)
  add_custom_command(OUTPUT ${source}
    COMMAND ${CMAKE_COMMAND} -DFILE=${file} -DSYMBOL=${symbol} -DHEADER=${header} -DSOURCE=${source}
      -P ${ZELUMO_EMBED_SCRIPT}
    DEPENDS ${file} ${ZELUMO_EMBED_SCRIPT}
    COMMENT "Embedding ${file}" VERBATIM)
  target_sources(${target} PRIVATE ${source})
endfunction()
