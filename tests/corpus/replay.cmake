# Replays the inputs of tests/corpus/<road>/: inputs that once crashed or hung the translator
# under the fuzzer, and a few seeds. Each input is copied into a fresh folder, which is also the
# current directory, and translated there in the road of its folder (normal, info: /I,
# override: /R, trial: /T). Every run must end with status 0 or 1, within 10 s, without a
# sanitizer report.
cmake_minimum_required(VERSION 3.21) # file(COPY_FILE)

foreach(var VARO5 CORPUS_DIR ROAD WORK_DIR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "replay.cmake needs -D${var}=...")
  endif()
endforeach()

set(input model.mdl)
if(ROAD STREQUAL "normal")
  set(flag "")
elseif(ROAD STREQUAL "info")
  set(flag /I)
elseif(ROAD STREQUAL "override")
  set(flag /R)
elseif(ROAD STREQUAL "trial")
  set(flag /T)
  set(input script.trial)
else()
  message(FATAL_ERROR "unknown road ${ROAD}")
endif()

file(GLOB cases ${CORPUS_DIR}/${ROAD}/*)
if(NOT cases)
  message(FATAL_ERROR "no inputs in ${CORPUS_DIR}/${ROAD}")
endif()
set(failures "")
foreach(case ${cases})
  get_filename_component(name ${case} NAME)
  set(run_dir ${WORK_DIR}/${ROAD}/${name})
  file(REMOVE_RECURSE ${run_dir})
  file(MAKE_DIRECTORY ${run_dir})
  file(COPY_FILE ${case} ${run_dir}/${input})
  execute_process(COMMAND ${VARO5} ${flag} ${input}
    WORKING_DIRECTORY ${run_dir}
    OUTPUT_QUIET
    ERROR_VARIABLE errors
    RESULT_VARIABLE status
    TIMEOUT 10)
  if(NOT status MATCHES "^[01]$" OR errors MATCHES "Sanitizer|runtime error:")
    string(APPEND failures "${ROAD}/${name}: status ${status}\n${errors}\n")
  endif()
endforeach()
list(LENGTH cases count)
if(failures)
  message(FATAL_ERROR "corpus inputs that failed:\n${failures}")
endif()
message(STATUS "${count} inputs of ${ROAD} ended with status 0 or 1")
