# Compiles the texts of a program into a dictionary.
#
#   u_add_dictionary(<target> OUTPUT <file> LOCALE <name> TEXTS <file>...)
#
# Adds a target, built with all others, that writes the dictionary and writes it
# anew when a text or the tool changes. A program that loads it names the target
# in add_dependencies.
#
#   OUTPUT  the dictionary, relative to the current binary folder
#   LOCALE  the locale that the dictionary names, such as de_DE
#   TEXTS   files with lines such as "$$$/App/Greeting=Guten Tag, ^1", in UTF-8,
#           relative to the current source folder; of several texts for a key,
#           the last one counts
#
# The tool is the target zdict in U's own build, and elsewhere the program that
# the project imports as U::zdict.

# Sets the variables to the beginning of a command that runs the tool, and to its target.
function(u_find_zdict command tool)
  if(TARGET zdict)
    set(${command} zdict PARENT_SCOPE)
    set(${tool} zdict PARENT_SCOPE)
  elseif(TARGET U::zdict)
    # CMake itself runs only programs of the build under the emulator.
    set(${command} ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:U::zdict> PARENT_SCOPE)
    set(${tool} U::zdict PARENT_SCOPE)
  else()
    message(FATAL_ERROR "there is no zdict; import it as U::zdict first")
  endif()
endfunction()

# Fails for an unknown and for a missing argument of a function, which has parsed its arguments with
# the prefix arg. The arguments after `call` are required.
macro(u_check_arguments call)
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "${call}: unknown ${arg_UNPARSED_ARGUMENTS}")
  endif()
  foreach(argument ${ARGN})
    if(NOT arg_${argument})
      message(FATAL_ERROR "${call}: ${argument} is missing")
    endif()
  endforeach()
endmacro()

function(u_add_dictionary target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "OUTPUT;LOCALE" "TEXTS")
  u_check_arguments("u_add_dictionary(${target})" OUTPUT LOCALE TEXTS)

  u_find_zdict(command tool)
  cmake_path(ABSOLUTE_PATH arg_OUTPUT BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} NORMALIZE
    OUTPUT_VARIABLE output)
  cmake_path(GET output PARENT_PATH folder)
  cmake_path(GET output FILENAME name)
  set(texts)
  foreach(text ${arg_TEXTS})
    cmake_path(ABSOLUTE_PATH text BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
    list(APPEND texts ${text})
  endforeach()

  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${command} compile -o ${output} --locale ${arg_LOCALE} ${texts}
    DEPENDS ${texts} $<TARGET_FILE:${tool}>
    COMMENT "Compiling the dictionary ${name}"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${output})
endfunction()
