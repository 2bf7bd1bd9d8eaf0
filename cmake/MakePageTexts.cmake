# cmake -DFOLDER=folder -DOUTPUT=file.cpp -P MakePageTexts.cmake: the source that holds the texts of a shader's property
# page, page.<code>.txt of that folder, as they stand. Their form is told in shaders/kit/kivpagetexts.h.
cmake_minimum_required(VERSION 3.25)

file(GLOB files "${FOLDER}/page.*.txt")
set(languages "")
foreach(file IN LISTS files)
  get_filename_component(name "${file}" NAME)
  if(NOT name MATCHES "^page\\.([a-zA-Z_-]+)\\.txt$")
    message(FATAL_ERROR " ${file}: expected a name of the form page.<language>.txt")
  endif()
  set(code "${CMAKE_MATCH_1}")
  file(READ "${file}" content)
  if(content MATCHES "\\)page\"")
    message(FATAL_ERROR " ${file}: can't be put into the plug-in's source")
  endif()
  string(APPEND languages "    if (language == \"${code}\") {
        return R\"page(${content})page\";
    }
")
endforeach()

file(WRITE "${OUTPUT}" "// Made from page.*.txt by the build.
#include \"shaders/kit/kivpageresource.h\"

std::string_view kivPageTextsIn([[maybe_unused]] std::string_view language) {
${languages}    return {};
}
")
