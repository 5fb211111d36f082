# Warnings are errors everywhere. GNU_UNIQUE symbols would keep the component in memory after
# dlclose, so they are off.
add_library(tallowbrook-warnings INTERFACE)
target_compile_options(tallowbrook-warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                                                      -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(tallowbrook-warnings INTERFACE -fno-gnu-unique)
endif()
