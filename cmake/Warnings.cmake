# Warnings for the project's own code; they are errors. Third-party headers come in as system
# headers and are exempt.
add_library(cpd_warnings INTERFACE)
target_compile_options(cpd_warnings INTERFACE
  -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
  -Wformat=2 -Wimplicit-fallthrough -Wmissing-declarations)
