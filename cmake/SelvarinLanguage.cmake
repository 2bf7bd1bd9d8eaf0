# kiv_language(code TEXTS texts.txt [OUTPUT_DIRECTORY dir] [INSTALL]): a language module, selvarin-<code>, from one table of
# texts. The table is UTF-8, one text a line: its number, a tab, the text. Lines that begin with # and empty lines are for the
# translator. In a text \n is a line break, \t a tab and \\ a backslash; there are no other escapes.
set(SELVARIN_MAKE_LANGUAGE ${CMAKE_CURRENT_LIST_DIR}/MakeLanguage.cmake)

function(kiv_language code)
  cmake_parse_arguments(ARG "INSTALL" "TEXTS;OUTPUT_DIRECTORY" "" ${ARGN})
  if(NOT ARG_OUTPUT_DIRECTORY)
    set(ARG_OUTPUT_DIRECTORY ${SELVARIN_BIN_DIR}/lang)
  endif()
  get_filename_component(texts ${ARG_TEXTS} ABSOLUTE)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/texts-${code}.cpp)
  add_custom_command(OUTPUT ${source}
    COMMAND ${CMAKE_COMMAND} -DTEXTS=${texts} -DOUTPUT=${source} -P ${SELVARIN_MAKE_LANGUAGE}
    DEPENDS ${texts} ${SELVARIN_MAKE_LANGUAGE} VERBATIM
    COMMENT "Texts of language ${code}")
  add_library(language_${code} MODULE ${source})
  set_target_properties(language_${code} PROPERTIES PREFIX "" OUTPUT_NAME selvarin-${code}
    LIBRARY_OUTPUT_DIRECTORY ${ARG_OUTPUT_DIRECTORY})
  if(ARG_INSTALL)
    install(TARGETS language_${code} LIBRARY DESTINATION ${SELVARIN_INSTALL_LIBDIR}/lang)
  endif()
endfunction()
