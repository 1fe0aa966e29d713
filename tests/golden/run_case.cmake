# Runs the translator on one golden case and compares what it produced with expected/.
# The case folder holds the input files, an optional `args` file (the command line after
# the program name, split like a shell would) and expected/, which lists every file the
# run must produce: stdout.txt, stderr.txt, exit_code.txt and the files written.
# Inputs are copied into a fresh run folder, which is also the current directory. An optional
# `env` file holds NAME=VALUE lines, set in the environment of the run.
cmake_minimum_required(VERSION 3.20) # for IN_LIST under cmake -P

foreach(var VARO5 GOLDEN_DIFF CASE_DIR WORK_DIR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "run_case.cmake needs -D${var}=...")
  endif()
endforeach()

set(run_dir ${WORK_DIR}/run)
set(out_dir ${WORK_DIR}/actual)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${run_dir} ${out_dir})

file(GLOB inputs LIST_DIRECTORIES true RELATIVE ${CASE_DIR} ${CASE_DIR}/*)
list(REMOVE_ITEM inputs expected args env)
foreach(input ${inputs})
  file(COPY ${CASE_DIR}/${input} DESTINATION ${run_dir})
endforeach()
file(GLOB_RECURSE inputs_after_copy RELATIVE ${run_dir} ${run_dir}/*)

set(args "")
if(EXISTS ${CASE_DIR}/args)
  file(READ ${CASE_DIR}/args args_text)
  string(STRIP "${args_text}" args_text)
  separate_arguments(args UNIX_COMMAND "${args_text}")
endif()

if(EXISTS ${CASE_DIR}/env)
  file(STRINGS ${CASE_DIR}/env env_lines)
  foreach(line ${env_lines})
    if(line MATCHES "^([A-Za-z_][A-Za-z0-9_]*)=(.*)$")
      set(ENV{${CMAKE_MATCH_1}} "${CMAKE_MATCH_2}")
    endif()
  endforeach()
endif()

execute_process(COMMAND ${VARO5} ${args}
  WORKING_DIRECTORY ${run_dir}
  OUTPUT_FILE ${out_dir}/stdout.txt
  ERROR_FILE ${out_dir}/stderr.txt
  RESULT_VARIABLE exit_code)
file(WRITE ${out_dir}/exit_code.txt "${exit_code}\n")

# Every file the run left beside its inputs is an output (a folder's files by their path).
file(GLOB_RECURSE produced RELATIVE ${run_dir} ${run_dir}/*)
foreach(file ${produced})
  if(NOT file IN_LIST inputs_after_copy)
    string(REPLACE "/" "__" flat ${file})
    file(COPY_FILE ${run_dir}/${file} ${out_dir}/${flat})
  endif()
endforeach()

# Every generated Model.cpp must compile against the engine-interface headers.
if(DEFINED CXX AND DEFINED ENGINE_DIR)
  file(GLOB_RECURSE generated_sources ${run_dir}/Model.cpp)
  foreach(source ${generated_sources})
    get_filename_component(source_dir ${source} DIRECTORY)
    execute_process(COMMAND ${CXX} -std=c++17 -fsyntax-only -I${ENGINE_DIR} -I${source_dir}
        ${source}
      RESULT_VARIABLE compile_result
      ERROR_VARIABLE compile_errors)
    if(NOT compile_result EQUAL 0)
      message(FATAL_ERROR "generated ${source} does not compile:\n${compile_errors}")
    endif()
  endforeach()
endif()

# A produced cohort.cpp is compiled against the trial run-time headers when its script has the
# procedures subject and main, without which the program is not whole, and every file that the
# script includes stands beside it.
set(trial_scripts "")
if(EXISTS ${run_dir}/cohort.cpp AND EXISTS ${run_dir}/cohort.h)
  file(GLOB trial_scripts ${run_dir}/*.trial)
endif()
set(compile_cohort FALSE)
foreach(script ${trial_scripts})
  file(READ ${script} script_text)
  string(REGEX REPLACE "#[^\n]*" "" script_text "${script_text}") # comments
  if(script_text MATCHES "(^|[^A-Za-z0-9_])subject[ \t\r\n]*\\("
     AND script_text MATCHES "(^|[^A-Za-z0-9_])main[ \t\r\n]*\\(")
    set(compile_cohort TRUE)
  endif()
  string(REGEX MATCHALL "include[ \t]*\\([ \t]*\"[^\"]*\"" includes "${script_text}")
  foreach(include ${includes})
    string(REGEX REPLACE "^[^\"]*\"([^\"]*)\"$" "\\1" included "${include}")
    if(NOT EXISTS ${run_dir}/${included})
      set(compile_cohort FALSE)
    endif()
  endforeach()
endforeach()
if(DEFINED CXX AND DEFINED TRIAL_ENGINE_DIR AND compile_cohort)
  execute_process(COMMAND ${CXX} -std=c++17 -fsyntax-only -I${TRIAL_ENGINE_DIR} -I${run_dir}
      ${run_dir}/cohort.cpp
    RESULT_VARIABLE compile_result
    ERROR_VARIABLE compile_errors)
  if(NOT compile_result EQUAL 0)
    message(FATAL_ERROR "generated cohort.cpp does not compile:\n${compile_errors}")
  endif()
endif()

set(update_flag "")
if(UPDATE)
  set(update_flag --update)
endif()
execute_process(COMMAND ${GOLDEN_DIFF} ${CASE_DIR}/expected ${out_dir} ${update_flag}
  RESULT_VARIABLE diff_result)
if(NOT diff_result EQUAL 0)
  message(FATAL_ERROR "golden case ${CASE_DIR}: output differs from expected/")
endif()
