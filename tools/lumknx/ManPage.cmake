# Writes lumknx.1 with help2man from "lumknx --help" and "--version", with a
# section that holds every command's own help text.
# Arguments: RUNNER (runs the program), HELP2MAN, OUTPUT.
execute_process(COMMAND "${RUNNER}" --help OUTPUT_VARIABLE usage COMMAND_ERROR_IS_FATAL ANY)

# The command names: the first word of each line of the "commands:" block.
string(REGEX MATCH "commands:\n(  [^\n]*\n)+" block "${usage}")
string(REGEX MATCHALL "\n  [a-z]+" names "${block}")

set(roff "[COMMANDS]\n")
foreach(name IN LISTS names)
  string(STRIP "${name}" name)
  execute_process(COMMAND "${RUNNER}" help ${name} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  # Each command's text without its "usage:" line, as roff: backslashes
  # escaped, and no line may start with a control character.
  string(REGEX REPLACE "^usage: lumknx ([^\n]*)\n\n?" "" body "${text}")
  string(REGEX MATCH "^usage: lumknx ([^\n]*)" synopsis "${text}")
  string(REPLACE "\\" "\\e" body "${body}")
  string(REPLACE "\\" "\\e" synopsis "${CMAKE_MATCH_1}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" body "${body}")
  string(REGEX REPLACE "\n\n+" "\n.PP\n" body "${body}")
  string(APPEND roff ".TP\n.B ${synopsis}\n${body}")
endforeach()
get_filename_component(dir "${OUTPUT}" DIRECTORY)
file(WRITE "${dir}/lumknx-commands.h2m" "${roff}")

execute_process(COMMAND "${HELP2MAN}" --no-info --no-discard-stderr --section=1
                        "--name=decode, encode and trace KNX group telegrams"
                        "--include=${dir}/lumknx-commands.h2m" "--output=${OUTPUT}" "${RUNNER}"
                COMMAND_ERROR_IS_FATAL ANY)
