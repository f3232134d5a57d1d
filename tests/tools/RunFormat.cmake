# Runs `zelvo-rules format INPUT` and compares its standard output byte for byte with
# EXPECTED. Used where the test program cannot start the tool itself (the emulated build).
set(_command "${PROGRAM}" format "${INPUT}")
if(EMULATOR)
  set(_command "${EMULATOR}" ${_command})
endif()
execute_process(COMMAND ${_command} RESULT_VARIABLE _rc OUTPUT_FILE "${OUTPUT}" ERROR_VARIABLE _err)
if(NOT _rc EQUAL 0)
  message(FATAL_ERROR "zelvo-rules format exited with ${_rc}: ${_err}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${OUTPUT}" "${EXPECTED}" RESULT_VARIABLE _diff)
if(NOT _diff EQUAL 0)
  message(FATAL_ERROR "${OUTPUT} differs from ${EXPECTED}")
endif()
