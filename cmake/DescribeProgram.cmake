# Lets PROGRAM write its manual pages and completion scripts into FOLDER.
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/man1)

function(write path)
  execute_process(COMMAND ${PROGRAM} ${ARGN} OUTPUT_FILE ${path} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

write(${FOLDER}/man1/tallowbrook.1 manual)
write(${FOLDER}/tallowbrook.bash completion bash)
write(${FOLDER}/_tallowbrook completion zsh)
file(STRINGS ${FOLDER}/tallowbrook.bash cases REGEX "^      [a-z]+\\) words=")
foreach(line ${cases})
  string(REGEX REPLACE "^ +([a-z]+)\\).*" "\\1" command "${line}")
  write(${FOLDER}/man1/tallowbrook-${command}.1 manual ${command})
endforeach()
