# Installs the build into a fresh prefix and checks what a user gets there: the installed
# binary translates an example, and its manual page renders without warnings and documents
# every flag of the usage text and every environment variable the sources read.
cmake_minimum_required(VERSION 3.20)

foreach(var BUILD_DIR SOURCE_DIR WORK_DIR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "installed.cmake needs -D${var}=...")
  endif()
endforeach()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/out)

execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
  OUTPUT_QUIET RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${rc}")
endif()
set(varo5 ${prefix}/bin/VARO5)
set(manpage ${prefix}/share/man/man1/VARO5.1)
foreach(file ${varo5} ${manpage})
  if(NOT EXISTS ${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()

# The installed binary translates an example on its own.
execute_process(COMMAND ${varo5} ${SOURCE_DIR}/examples/pk_oral.mdl ${WORK_DIR}/out
  WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0 OR NOT err STREQUAL "")
  message(FATAL_ERROR "installed VARO5 on pk_oral.mdl: status ${rc}\n${err}")
endif()
file(READ ${WORK_DIR}/out/Model.cpp cpp)
if(NOT cpp MATCHES "#include \"Model.h\"")
  message(FATAL_ERROR "installed VARO5 wrote no model code in ${WORK_DIR}/out/Model.cpp")
endif()

# The manual page names the version the binary prints.
execute_process(COMMAND ${varo5} /v OUTPUT_VARIABLE version_line)
string(REGEX MATCH "version: ([0-9.]+)" version "${version_line}")
set(version "${CMAKE_MATCH_1}")
file(READ ${manpage} man)
if(version STREQUAL "" OR NOT man MATCHES "^\\.TH VARO5 1 [^\n]*\"VARO5 ${version}\"")
  message(FATAL_ERROR "the .TH line of the manual page does not name version '${version}'")
endif()

# Each flag of the usage text ("        /T  gen trial simulation") heads an entry of the page.
execute_process(COMMAND ${varo5} ERROR_VARIABLE usage)
string(REGEX MATCHALL "\n +/[A-Za-z]+" flags "${usage}")
list(LENGTH flags count)
if(count LESS 5)
  message(FATAL_ERROR "found ${count} flags in the usage text:\n${usage}")
endif()
set(missing "")
foreach(flag ${flags})
  string(STRIP "${flag}" flag)
  if(NOT man MATCHES "\n\\.TP\n\\.BI? ${flag}[ \n]")
    list(APPEND missing ${flag})
  endif()
endforeach()

# Each environment variable the sources read heads an entry of the page too.
file(GLOB_RECURSE sources ${SOURCE_DIR}/src/*.cpp)
foreach(source ${sources})
  file(STRINGS ${source} lines REGEX "getenv\\(\"")
  string(REGEX MATCHALL "getenv\\(\"[A-Za-z0-9_]+" calls "${lines}")
  foreach(call ${calls})
    string(REPLACE "getenv(\"" "" name "${call}")
    if(NOT man MATCHES "\n\\.TP\n\\.B ${name}\n")
      list(APPEND missing ${name})
    endif()
  endforeach()
endforeach()
if(missing)
  list(REMOVE_DUPLICATES missing)
  message(FATAL_ERROR "the manual page has no entry for: ${missing}")
endif()

# It renders without a single warning.
find_program(GROFF groff)
if(NOT GROFF)
  message(FATAL_ERROR "groff is needed to check the manual page (Debian package groff-base)")
endif()
execute_process(COMMAND ${GROFF} -ww -man -Tutf8 -z ${manpage}
  RESULT_VARIABLE rc ERROR_VARIABLE warnings)
if(NOT rc EQUAL 0 OR NOT warnings STREQUAL "")
  message(FATAL_ERROR "groff -ww -man on the manual page:\n${warnings}")
endif()
