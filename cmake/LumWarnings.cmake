# Warnings every target of the project compiles with. CI turns them into
# errors through CMAKE_COMPILE_WARNING_AS_ERROR (see CMakePresets.json).
add_library(lum_warnings INTERFACE)
target_compile_options(lum_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wunused -Woverloaded-virtual
  -Wnull-dereference -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough)
