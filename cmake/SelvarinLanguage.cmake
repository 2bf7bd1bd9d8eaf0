# kiv_language(code TEXTS texts.txt [DIALOGS folder] [ICONS folder] [OUTPUT_DIRECTORY dir] [INSTALL]): a language module,
# selvarin-<code>, from one table of texts. The table is UTF-8, one text a line: its number, a tab, the text. Lines that begin
# with # and empty lines are for the translator. In a text \n is a line break, \t a tab and \\ a backslash; there are no other
# escapes.
#
# DIALOGS holds forms of Qt Designer, named <number>-<what it is>.ui (<number>+<number>-... for two numbers); in them a text that is @<number> and nothing else becomes
# that text of the table. A widget's dynamic property "control" is the number by which the program knows it. ICONS holds pictures,
# <number>-<what it is>.svg. All languages share both.
set(SELVARIN_MAKE_LANGUAGE ${CMAKE_CURRENT_LIST_DIR}/MakeLanguage.cmake)

function(kiv_language code)
  cmake_parse_arguments(ARG "INSTALL" "TEXTS;DIALOGS;ICONS;OUTPUT_DIRECTORY" "" ${ARGN})
  if(NOT ARG_OUTPUT_DIRECTORY)
    set(ARG_OUTPUT_DIRECTORY ${SELVARIN_BIN_DIR}/lang)
  endif()
  get_filename_component(texts ${ARG_TEXTS} ABSOLUTE)
  set(files ${texts})
  foreach(kind DIALOGS ICONS)
    if(ARG_${kind})
      get_filename_component(ARG_${kind} ${ARG_${kind}} ABSOLUTE)
      file(GLOB found CONFIGURE_DEPENDS ${ARG_${kind}}/*)
      list(APPEND files ${found})
    endif()
  endforeach()
  set(source ${CMAKE_CURRENT_BINARY_DIR}/texts-${code}.cpp)
  add_custom_command(OUTPUT ${source}
    COMMAND ${CMAKE_COMMAND} -DTEXTS=${texts} -DDIALOGS=${ARG_DIALOGS} -DICONS=${ARG_ICONS} -DOUTPUT=${source} -P ${SELVARIN_MAKE_LANGUAGE}
    DEPENDS ${files} ${SELVARIN_MAKE_LANGUAGE} VERBATIM
    COMMENT "Texts of language ${code}")
  add_library(language_${code} MODULE ${source})
  set_target_properties(language_${code} PROPERTIES PREFIX "" OUTPUT_NAME selvarin-${code}
    LIBRARY_OUTPUT_DIRECTORY ${ARG_OUTPUT_DIRECTORY})
  if(ARG_INSTALL)
    install(TARGETS language_${code} LIBRARY DESTINATION ${SELVARIN_INSTALL_LIBDIR}/lang)
  endif()
endfunction()
