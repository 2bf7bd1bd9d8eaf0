# selvarin_add_shader(target [TEXTS folder] sources...): a shader plug-in over the kit, a module without a prefix. The texts of
# its property page, page.<language>.txt in that folder or the current one, go into it; without such files the page has the
# words of the table.
set(SELVARIN_MAKE_PAGE_TEXTS ${CMAKE_CURRENT_LIST_DIR}/MakePageTexts.cmake)
function(selvarin_add_shader name)
  cmake_parse_arguments(ARG "" "TEXTS" "" ${ARGN})
  if(NOT ARG_TEXTS)
    set(ARG_TEXTS ${CMAKE_CURRENT_SOURCE_DIR})
  endif()
  file(GLOB texts CONFIGURE_DEPENDS ${ARG_TEXTS}/page.*.txt)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}-page-texts.cpp)
  add_custom_command(OUTPUT ${source}
    COMMAND ${CMAKE_COMMAND} -DFOLDER=${ARG_TEXTS} -DOUTPUT=${source} -P ${SELVARIN_MAKE_PAGE_TEXTS}
    DEPENDS ${texts} ${SELVARIN_MAKE_PAGE_TEXTS} VERBATIM
    COMMENT "Page texts of ${name}")
  add_library(${name} MODULE ${ARG_UNPARSED_ARGUMENTS} ${source})
  set_target_properties(${name} PROPERTIES PREFIX "" CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  if(TARGET Selvarin::kit)
    target_link_libraries(${name} PRIVATE Selvarin::kit)
  else()
    target_link_libraries(${name} PRIVATE selvarin_kit)
  endif()
endfunction()
