# Makes the dictionaries of a program or library from its source code and its translations.
#
#   u_add_texts(<target> ENGLISH <file> LANGUAGES <language>... SOURCES <file or folder>...
#               [LOCALES <name>...] [TABLES <macro=pattern>...] [DEFINES <macro=text>...]
#               [EXCLUDE <glob>...] [EXCLUDE_KEYS <glob>...] [STRICT] [WITH_LIBRARY]
#               [OUTPUT <folder>] [DESTINATION <folder>])
#
# Translations are in the folder of ENGLISH, named by their languages: texts/de.txt beside
# texts/en.txt. In each build the English texts of the sources are extracted again, and
# the translations are checked against them and compiled when a text or the tool has changed.
#
# Adds two targets:
#   <target>_texts         the dictionaries <target>_<language>.zdict and the English
#                          texts <target>_en.txt with their places in the sources; built with all
#                          other targets, and before <target> if that is a program
#   <target>_texts_update  brings ENGLISH and the translations up to date: translations of
#                          changed English texts are marked as fuzzy, and new texts are added in
#                          English, marked as fuzzy
#
#   ENGLISH       the English texts of which the translations are made, relative to the current
#                 source folder; written by <target>_texts_update
#   LANGUAGES     such as de, as in the names of the files
#   LOCALES       the locales that the dictionaries name, as de_DE, in the order of LANGUAGES
#                 (LANGUAGES)
#   SOURCES       sources and folders of sources, relative to the current source folder
#   TABLES, DEFINES, EXCLUDE, EXCLUDE_KEYS
#                 values of the options of zdict extract with these names
#   STRICT        the build fails on every finding of zdict lint, a missing text among them, and
#                 if ENGLISH is not what the sources have
#   WITH_LIBRARY  adds the texts of U itself in the languages that U has
#   OUTPUT        folder of the dictionaries, relative to the current binary folder, which is the
#                 default
#   DESTINATION   folder to which the dictionaries and the English texts are installed; without
#                 it they are not installed

# In a build of STRICT texts, this file is run as a script that compares the English texts.
if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  if(NOT EXISTS ${OLD})
    message(FATAL_ERROR "there is no ${OLD}; build the target ${UPDATE}")
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files --ignore-eol ${OLD} ${NEW}
    RESULT_VARIABLE result)
  if(result)
    message(FATAL_ERROR "${OLD} is not the English text of the sources; build the target ${UPDATE}")
  endif()
  return()
endif()

function(u_add_texts target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "STRICT;WITH_LIBRARY" "ENGLISH;OUTPUT;DESTINATION"
    "LANGUAGES;LOCALES;SOURCES;TABLES;DEFINES;EXCLUDE;EXCLUDE_KEYS")
  u_check_arguments("u_add_texts(${target})" ENGLISH LANGUAGES SOURCES)
  if(NOT TARGET ${target})
    message(FATAL_ERROR "u_add_texts(${target}): there is no such target")
  endif()
  if(NOT arg_LOCALES)
    set(arg_LOCALES ${arg_LANGUAGES})
  endif()
  list(LENGTH arg_LANGUAGES language_count)
  list(LENGTH arg_LOCALES locale_count)
  if(NOT language_count EQUAL locale_count)
    message(FATAL_ERROR "u_add_texts(${target}): there are ${language_count} LANGUAGES and "
      "${locale_count} LOCALES")
  endif()
  if(NOT arg_OUTPUT)
    set(arg_OUTPUT ${CMAKE_CURRENT_BINARY_DIR})
  endif()
  cmake_path(ABSOLUTE_PATH arg_OUTPUT BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} NORMALIZE)
  u_find_zdict(command tool)

  set(old_english ${arg_ENGLISH})
  cmake_path(ABSOLUTE_PATH old_english BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
  cmake_path(GET old_english PARENT_PATH folder)
  set(work ${CMAKE_CURRENT_BINARY_DIR}/${target}_texts)
  file(MAKE_DIRECTORY ${arg_OUTPUT} ${work})
  set(english ${arg_OUTPUT}/${target}_en.txt)
  set(plain_english ${work}/en.txt)

  set(options)
  foreach(pair TABLES:table DEFINES:define EXCLUDE:exclude EXCLUDE_KEYS:exclude-key)
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 argument)
    list(GET pair 1 option)
    foreach(value IN LISTS arg_${argument})
      list(APPEND options --${option}=${value})
    endforeach()
  endforeach()
  set(sources)
  foreach(source ${arg_SOURCES})
    set(path ${source})
    cmake_path(ABSOLUTE_PATH path BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
    if(IS_DIRECTORY ${path})
      set(globs *.c *.cc *.cpp *.cxx *.h *.hh *.hpp *.hxx *.inc *.m *.mm)
      list(TRANSFORM globs PREPEND ${path}/)
      file(GLOB_RECURSE found CONFIGURE_DEPENDS ${globs})
      list(APPEND sources ${found})
    else()
      list(APPEND sources ${path})
    endif()
  endforeach()
  # A source that is removed, or added with an old date, changes the list.
  list(JOIN sources "\n" list)
  set(known)
  if(EXISTS ${work}/sources)
    file(READ ${work}/sources known)
  endif()
  if(NOT known STREQUAL list)
    file(WRITE ${work}/sources "${list}")
  endif()
  add_custom_command(OUTPUT ${english} ${plain_english}
    COMMAND ${command} extract -o ${english} ${options} ${arg_SOURCES}
    COMMAND ${command} extract --no-notes -o ${plain_english} ${options} ${arg_SOURCES}
    DEPENDS ${sources} ${work}/sources $<TARGET_FILE:${tool}>
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
    COMMENT "Extracting the texts of ${target}"
    VERBATIM)

  set(translations ${arg_LANGUAGES})
  list(TRANSFORM translations APPEND .txt)
  list(TRANSFORM translations PREPEND ${folder}/)
  foreach(translation ${translations})
    if(NOT EXISTS ${translation})
      message(FATAL_ERROR "u_add_texts(${target}): there is no ${translation}; begin with an empty "
        "file and the target ${target}_texts_update")
    endif()
  endforeach()
  set(compare)
  set(strict)
  set(known_english)
  if(arg_STRICT)
    set(strict --strict)
    # A build depends on the file only if it exists: the update target writes it for the first
    # time, and the next build finds it by the glob.
    file(GLOB known_english CONFIGURE_DEPENDS ${old_english})
    set(compare COMMAND ${CMAKE_COMMAND} -D OLD=${old_english} -D NEW=${plain_english}
      -D UPDATE=${target}_texts_update -P ${CMAKE_CURRENT_FUNCTION_LIST_FILE})
  endif()
  set(checked ${work}/checked)
  add_custom_command(OUTPUT ${checked}
    COMMAND ${command} lint ${strict} --english ${english} ${translations}
    ${compare}
    COMMAND ${CMAKE_COMMAND} -E touch ${checked}
    DEPENDS ${english} ${plain_english} ${translations} ${known_english} $<TARGET_FILE:${tool}>
    COMMENT "Checking the translations of ${target}"
    VERBATIM)

  set(dictionaries)
  foreach(language locale translation IN ZIP_LISTS arg_LANGUAGES arg_LOCALES translations)
    set(dictionary ${arg_OUTPUT}/${target}_${language}.zdict)
    set(library)
    if(arg_WITH_LIBRARY AND "${language}" IN_LIST U_LANGUAGES)
      set(library ${U_DICTIONARIES}/U_${language}.zdict)
    endif()
    # merge reads texts and images, and takes the locale of the last file that names one. A note
    # of a translation is a comment in the dictionary, not a part of the text.
    add_custom_command(OUTPUT ${dictionary}
      COMMAND ${command} merge --comments -o ${dictionary} --locale ${locale} ${library} ${translation}
      DEPENDS ${checked} ${library} ${translation} $<TARGET_FILE:${tool}>
      COMMENT "Compiling the dictionary ${target}_${language}.zdict"
      VERBATIM)
    list(APPEND dictionaries ${dictionary})
  endforeach()
  add_custom_target(${target}_texts ALL DEPENDS ${dictionaries} ${english})
  if(arg_WITH_LIBRARY AND TARGET U_texts)
    add_dependencies(${target}_texts U_texts)
  endif()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL EXECUTABLE)
    add_dependencies(${target} ${target}_texts)
  endif()

  set(updates)
  foreach(translation ${translations})
    list(APPEND updates
      COMMAND ${command} update --add-new --english ${english} --old-english ${old_english}
        -o ${translation} ${translation})
  endforeach()
  add_custom_target(${target}_texts_update
    COMMAND ${CMAKE_COMMAND} -E touch ${old_english} # an empty file is a text without entries
    ${updates}
    COMMAND ${CMAKE_COMMAND} -E copy ${plain_english} ${old_english}
    DEPENDS ${english} ${plain_english}
    COMMENT "Updating the translations of ${target}"
    VERBATIM)

  if(arg_DESTINATION)
    install(FILES ${dictionaries} ${english} DESTINATION ${arg_DESTINATION})
  endif()
endfunction()
