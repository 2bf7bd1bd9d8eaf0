# cmake -DTEXTS=texts.txt [-DDIALOGS=folder] [-DICONS=folder] -DOUTPUT=texts.cpp -P MakeLanguage.cmake: the source of a language
# module. See SelvarinLanguage.cmake for the form of the table and of the folders. The lines are cut by hand: CMake's own lists
# would take semicolons and brackets for theirs.
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

  # As it stands in a form's XML.
  set(xml "${text}")
  string(REPLACE "&" "&amp;" xml "${xml}")
  string(REPLACE "<" "&lt;" xml "${xml}")
  string(REPLACE ">" "&gt;" xml "${xml}")
  string(REPLACE "\\\\" "&#92;" xml "${xml}")
  string(REPLACE "\\n" "&#10;" xml "${xml}")
  string(REPLACE "\\t" "&#9;" xml "${xml}")
  set(xml_${id} "${xml}")

  # What the table allows after a backslash is what C++ makes of it.
  string(REGEX REPLACE "\\\\[nt\\\\]" "" plain "${text}")
  if(plain MATCHES "\\\\")
    fault(${number} "text ${id}: after a backslash there is n, t or another backslash")
  endif()
  string(REPLACE "\"" "\\\"" text "${text}")
  string(APPEND cases "    case ${id}:\n        return \"${text}\";\n")
endwhile()

# --- forms and icons: files named <number>-<what it is>.<ending>, or <number>+<number>-... where several numbers mean the same

set(resources "")

function(add_resource kind file content)
  get_filename_component(name "${file}" NAME)
  if(NOT name MATCHES "^([1-9][0-9+]*)-[a-z0-9-]+\\.[a-z]+$")
    message(FATAL_ERROR " ${file}: expected a name of the form <number>-<what it is>.<ending>")
  endif()
  string(REPLACE "+" " || id == " ids "${CMAKE_MATCH_1}")
  if(content MATCHES "\\)resource\"")
    message(FATAL_ERROR " ${file}: can't be put into the module's source")
  endif()
  set(resources "${resources}    if (kind == ${kind} && (id == ${ids})) {
        static const char bytes[] = R\"resource(${content})resource\";
        *size = sizeof bytes - 1;
        return bytes;
    }
" PARENT_SCOPE)
endfunction()

if(DIALOGS)
  file(GLOB forms "${DIALOGS}/*.ui")
  foreach(form IN LISTS forms)
    file(READ "${form}" content)
    string(REGEX MATCHALL ">@[0-9]+<" marks "${content}")
    foreach(mark IN LISTS marks)
      string(REGEX REPLACE "[^0-9]" "" id "${mark}")
      if(NOT DEFINED xml_${id})
        message(FATAL_ERROR " ${TEXTS}: text ${id} is missing, which ${form} shows")
      endif()
      string(REPLACE "${mark}" ">${xml_${id}}<" content "${content}")
    endforeach()
    add_resource(1 "${form}" "${content}")
  endforeach()
endif()
if(ICONS)
  file(GLOB icons "${ICONS}/*.svg")
  foreach(icon IN LISTS icons)
    file(READ "${icon}" content)
    add_resource(2 "${icon}" "${content}")
  endforeach()
endif()

get_filename_component(name "${TEXTS}" NAME)
file(WRITE "${OUTPUT}" "// Made from ${name} by the build.
#define KIV_EXPORTED extern \"C\" __attribute__((visibility(\"default\")))

KIV_EXPORTED const char* KivLanguageText(unsigned int id) {
    switch (id) {
${cases}    default:
        return nullptr;
    }
}

KIV_EXPORTED const char* KivModuleResource([[maybe_unused]] unsigned int kind, [[maybe_unused]] unsigned int id,
                                           [[maybe_unused]] unsigned long* size) {
${resources}    return nullptr;
}
")
