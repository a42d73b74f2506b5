# SPDX-License-Identifier: Apache-2.0
# Makes the page of `grhost view` with npm, in a folder of its own below the build folder. A machine without
# network builds everything else all the same: when the libraries cannot be had this warns, and the verb says
# what is missing.   cmake -DNPM=… -DNODE=… -DFROM=web -DWORK=… -DOUT=….html -P view_page.cmake
file(MAKE_DIRECTORY ${WORK})
file(GLOB SOURCES ${FROM}/*.js ${FROM}/*.mjs ${FROM}/*.html ${FROM}/*.css)
file(COPY ${SOURCES} ${FROM}/package.json ${FROM}/package-lock.json ${FROM}/.npmrc DESTINATION ${WORK})
file(SHA256 ${FROM}/package-lock.json WANTED)
set(HAVE "")
if(EXISTS ${WORK}/installed.txt)
  file(READ ${WORK}/installed.txt HAVE)
endif()
if(NOT HAVE STREQUAL WANTED)
  execute_process(COMMAND ${NPM} ci --prefer-offline --ignore-scripts --fetch-retries=0 --fetch-timeout=20000
    WORKING_DIRECTORY ${WORK} TIMEOUT 90 RESULT_VARIABLE FAILED OUTPUT_FILE ${WORK}/npm.log ERROR_FILE ${WORK}/npm.log)
  if(FAILED)
    message("view: no page for grhost view: npm could not get three.js and esbuild (${WORK}/npm.log); "
      "build again with a network")
    return()
  endif()
  file(WRITE ${WORK}/installed.txt ${WANTED})
endif()
execute_process(COMMAND ${NODE} build.mjs ${OUT} WORKING_DIRECTORY ${WORK} RESULT_VARIABLE FAILED)
if(FAILED)
  message("view: no page for grhost view: it cannot be bundled, see above; node 18 or newer is needed")
endif()
