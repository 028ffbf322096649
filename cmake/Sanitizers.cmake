# Applies the chosen sanitizers to every target of the build, so that the library, the default
# platform libraries and the tests are instrumented alike.
if(CPD_SANITIZE STREQUAL "asan")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(CPD_SANITIZE STREQUAL "tsan")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT CPD_SANITIZE STREQUAL "")
  message(FATAL_ERROR "CPD_SANITIZE must be '', 'asan' or 'tsan', not '${CPD_SANITIZE}'")
endif()
