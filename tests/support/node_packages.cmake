# SPDX-License-Identifier: Apache-2.0
# Installs the packages of FOLDER's lock file, unless they are there already. None needs a script run.
if(EXISTS ${FOLDER}/node_modules/.package-lock.json AND
   ${FOLDER}/node_modules/.package-lock.json IS_NEWER_THAN ${FOLDER}/package-lock.json)
  return()
endif()
execute_process(COMMAND ${NPM} ci --ignore-scripts --no-audit --no-fund WORKING_DIRECTORY ${FOLDER} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "npm ci failed")
endif()
