# The two uses of an override agree: the model text rewritten with /R translates again, and
# /I of the rewritten text gives the same sections SECTIONS as /I of the model with its
# override merged. MODEL is a model file with an override block; SECTIONS names the
# sections by their heads, separated by commas.
cmake_minimum_required(VERSION 3.20)

foreach(var VARO5 MODEL WORK_DIR SECTIONS)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "override_roundtrip.cmake needs -D${var}=...")
  endif()
endforeach()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/merged ${WORK_DIR}/rewritten ${WORK_DIR}/code)
file(COPY_FILE ${MODEL} ${WORK_DIR}/model.mdl)

function(run_translator)
  execute_process(COMMAND ${VARO5} ${ARGN} WORKING_DIRECTORY ${WORK_DIR}
    RESULT_VARIABLE status ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "VARO5 ${ARGN} ended with ${status}:\n${err}")
  endif()
endfunction()

run_translator(/R model.mdl)
if(NOT EXISTS ${WORK_DIR}/model.mdx)
  message(FATAL_ERROR "/R wrote no model.mdx")
endif()
run_translator(model.mdx code)
run_translator(/I model.mdl merged)
run_translator(/I model.mdx rewritten)

# The text of one section: its line, or for omega5 its lines up to the closing one.
function(get_section file head out)
  file(READ ${file} text)
  if(head STREQUAL "omega5")
    string(REGEX MATCH "\\(omega5\n[^)]*\\)" section "${text}")
  else()
    string(REGEX MATCH "\\(${head}[ )][^\n]*" section "${text}")
  endif()
  if(section STREQUAL "")
    message(FATAL_ERROR "no section ${head} in ${file}")
  endif()
  set(${out} "${section}" PARENT_SCOPE)
endfunction()

string(REPLACE "," ";" heads "${SECTIONS}")
foreach(head ${heads})
  get_section(${WORK_DIR}/merged/ModelInfo.txt ${head} merged)
  get_section(${WORK_DIR}/rewritten/ModelInfo.txt ${head} rewritten)
  if(NOT merged STREQUAL rewritten)
    message(FATAL_ERROR "section ${head} differs:\n merged:    ${merged}\n rewritten: ${rewritten}")
  endif()
endforeach()
