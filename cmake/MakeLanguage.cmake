# cmake -DTEXTS=texts.txt -DOUTPUT=texts.cpp -P MakeLanguage.cmake: the source of a language module. See SelvarinLanguage.cmake
# for the form of the table. The lines are cut by hand: CMake's own lists would take semicolons and brackets for theirs.
cmake_minimum_required(VERSION 3.25)

file(READ "${TEXTS}" rest)
set(cases "")
set(seen " ")
set(number 0)
string(ASCII 9 tab)

function(fault line message)
  # The blank in front keeps CMake from breaking the line.
  message(FATAL_ERROR " ${TEXTS}:${line}: ${message}")
endfunction()

while(NOT rest STREQUAL "")
  math(EXPR number "${number} + 1")
  string(FIND "${rest}" "\n" end)
  if(end EQUAL -1)
    set(line "${rest}")
    set(rest "")
  else()
    string(SUBSTRING "${rest}" 0 ${end} line)
    math(EXPR next "${end} + 1")
    string(SUBSTRING "${rest}" ${next} -1 rest)
  endif()
  string(REGEX REPLACE "\r$" "" line "${line}")
  if(line STREQUAL "" OR line MATCHES "^#")
    continue()
  endif()

  string(FIND "${line}" "${tab}" split)
  if(split EQUAL -1)
    fault(${number} "expected a number, a tab and a text")
  endif()
  string(SUBSTRING "${line}" 0 ${split} id)
  math(EXPR next "${split} + 1")
  string(SUBSTRING "${line}" ${next} -1 text)
  if(NOT id MATCHES "^[1-9][0-9]*$")
    fault(${number} "expected a number before the tab, got \"${id}\"")
  endif()
  if(text STREQUAL "")
    fault(${number} "text ${id} is empty")
  endif()
  if(seen MATCHES " ${id} ")
    fault(${number} "text ${id} is there a second time")
  endif()
  string(APPEND seen "${id} ")

  # What the table allows after a backslash is what C++ makes of it.
  string(REGEX REPLACE "\\\\[nt\\\\]" "" plain "${text}")
  if(plain MATCHES "\\\\")
    fault(${number} "text ${id}: after a backslash there is n, t or another backslash")
  endif()
  string(REPLACE "\"" "\\\"" text "${text}")
  string(APPEND cases "    case ${id}:\n        return \"${text}\";\n")
endwhile()

get_filename_component(name "${TEXTS}" NAME)
file(WRITE "${OUTPUT}" "// Made from ${name} by the build.
extern \"C\" __attribute__((visibility(\"default\"))) const char* KivLanguageText(unsigned int id) {
    switch (id) {
${cases}    default:
        return nullptr;
    }
}
")
