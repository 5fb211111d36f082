# The scanner (re2c) and the parser (bison) are generated into the build folder.
find_program(RE2C re2c REQUIRED)
find_package(BISON 3.8 REQUIRED)

set(generated ${CMAKE_BINARY_DIR}/generated/parser)
file(MAKE_DIRECTORY ${generated})
set(TALLOWBROOK_GENERATED_PARSER "")

if(EXISTS ${CMAKE_SOURCE_DIR}/parser/scanner.re)
  add_custom_command(
    OUTPUT ${generated}/scanner.cc
    COMMAND ${RE2C} -W -Werror --conditions --no-debug-info -o ${generated}/scanner.cc
            ${CMAKE_SOURCE_DIR}/parser/scanner.re
    DEPENDS ${CMAKE_SOURCE_DIR}/parser/scanner.re
    COMMENT "Generating the scanner")
  list(APPEND TALLOWBROOK_GENERATED_PARSER ${generated}/scanner.cc)
endif()
if(EXISTS ${CMAKE_SOURCE_DIR}/parser/grammar.y)
  add_custom_command(
    OUTPUT ${generated}/grammar.cc ${generated}/grammar.h
    COMMAND ${BISON_EXECUTABLE} -Wall -Werror --no-lines --header=${generated}/grammar.h
            -o ${generated}/grammar.cc ${CMAKE_SOURCE_DIR}/parser/grammar.y
    DEPENDS ${CMAKE_SOURCE_DIR}/parser/grammar.y
    COMMENT "Generating the parser")
  list(APPEND TALLOWBROOK_GENERATED_PARSER ${generated}/grammar.cc ${generated}/grammar.h)
endif()
