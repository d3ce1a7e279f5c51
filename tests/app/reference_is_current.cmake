# The page of all settings must be what the program prints.
execute_process(COMMAND ${PROGRAM} --reference OUTPUT_VARIABLE printed RESULT_VARIABLE status)
file(READ ${PAGE} kept)
if(NOT status EQUAL 0 OR NOT printed STREQUAL kept)
  message(FATAL_ERROR "${PAGE} is out of date: isp-sim --reference > docs/settings.md")
endif()
