# One warning set for every target of ours, so that both compilers see the same code.
add_library(zelvo_warnings INTERFACE)
target_compile_options(zelvo_warnings INTERFACE -Wall -Wextra -Wno-unused-parameter -Wno-missing-field-initializers)
if(WIN32)
  # Our sources are UTF-8, and wide literals must stay wide on both targets.
  target_compile_definitions(zelvo_warnings INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
endif()
