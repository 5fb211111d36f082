# Warnings are errors everywhere but under the sanitizers, whose instrumentation makes g++ warn of
# conversions and values that it sees through otherwise. GNU_UNIQUE symbols would keep the component
# in memory after dlclose, so they are off.
add_library(tallowbrook-warnings INTERFACE)
target_compile_options(tallowbrook-warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(NOT "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_DEBUG}" MATCHES "-fsanitize=")
  target_compile_options(tallowbrook-warnings INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(tallowbrook-warnings INTERFACE -fno-gnu-unique)
endif()
