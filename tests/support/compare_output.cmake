# cmake -DEXPECTED=FILE -DCOMMAND="PROGRAM;ARGUMENT..." -P compare_output.cmake
# Fails unless the command ends with code 0 and prints exactly the file.
execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE output RESULT_VARIABLE code)
file(READ ${EXPECTED} expected)
if(NOT code EQUAL 0)
  message(FATAL_ERROR "exit code ${code}\n${output}")
endif()
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "the output differs from ${EXPECTED}:\n${output}")
endif()
