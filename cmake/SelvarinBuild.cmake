# What every target of the house shares: language level, warnings, sanitizers, output folders, and the short
# functions by which a folder declares its sources.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# Programs and the library in bin, plug-ins beside the library in bin/shaders, language modules in bin/lang: the
# same layout as installed, so that the library finds its plug-ins the same way in both.
set(SELVARIN_BIN_DIR ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${SELVARIN_BIN_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${SELVARIN_BIN_DIR})
set(SELVARIN_INSTALL_LIBDIR ${CMAKE_INSTALL_LIBDIR}/selvarin)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# kiv_runpath(target path...): the folders in which a target that is installed looks for the library. They are linked in as they
# stand and hold for the built and the installed target alike: when CMake changes them on installing, it links a placeholder
# with empty entries, and an empty entry is the current folder, so that a library beside somebody's models would be run.
function(kiv_runpath target)
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${ARGN}")
endfunction()

# kiv_program(target): a program that is installed. The library lies beside it when built, in a folder of its own when installed.
function(kiv_program target)
  kiv_runpath(${target} "$ORIGIN/../${SELVARIN_INSTALL_LIBDIR}" "$ORIGIN")
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()

# No contraction into fused operations: the same source must give the same bits on every processor.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -ffp-contract=off)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 warns of overlapping copies where two strings are joined: https://gcc.gnu.org/PR105651, ended by GCC 13.
  add_compile_options(-Wno-restrict)
endif()
if(SELVARIN_STRICT)
  add_compile_options(-Werror)
endif()
if(SELVARIN_SANITIZE)
  add_compile_options(-fsanitize=${SELVARIN_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${SELVARIN_SANITIZE})
  if(SELVARIN_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# Here, at the top, so that the library, the plug-ins and the tests all see the same targets.
find_package(OpenGL REQUIRED COMPONENTS OpenGL EGL)

find_program(SELVARIN_CCACHE ccache)
if(SELVARIN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${SELVARIN_CCACHE})
endif()

# kiv_sources(SOURCES a.cpp ... PUBLIC_HEADERS a.h ... PRIVATE_HEADERS b.h ...): one folder's part of the library.
# Public headers are installed; each line there is a promise to hosts and plug-ins.
function(kiv_sources)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_HEADERS;PRIVATE_HEADERS" ${ARGN})
  list(TRANSFORM ARG_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  list(TRANSFORM ARG_PRIVATE_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  target_sources(selvarin PRIVATE ${ARG_SOURCES} ${ARG_PRIVATE_HEADERS})
  if(ARG_PUBLIC_HEADERS)
    list(TRANSFORM ARG_PUBLIC_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    target_sources(selvarin PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/src FILES ${ARG_PUBLIC_HEADERS})
  endif()
endfunction()

# kiv_shader(name sources...): a shader plug-in of ours, src/shaders/<name>: one of the kit (SelvarinShader.cmake), in the
# folder of the plug-ins.
include(${CMAKE_CURRENT_LIST_DIR}/SelvarinShader.cmake)
function(kiv_shader name)
  selvarin_add_shader(shader_${name} ${ARGN})
  set_target_properties(shader_${name} PROPERTIES OUTPUT_NAME ${name} LIBRARY_OUTPUT_DIRECTORY
    ${SELVARIN_BIN_DIR}/shaders)
  kiv_runpath(shader_${name} "$ORIGIN/..")
  install(TARGETS shader_${name} LIBRARY DESTINATION ${SELVARIN_INSTALL_LIBDIR}/shaders)
endfunction()

# kiv_test(name [LABELS l...] [LIBRARIES t...] SOURCES s...): one GoogleTest program. Every case is a CTest test of its own.
function(kiv_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "LABELS;LIBRARIES;SOURCES;ENVIRONMENT" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  if(NOT ARG_LABELS)
    string(REGEX REPLACE "^test_" "" ARG_LABELS ${name})
  endif()
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_link_libraries(${name} PRIVATE selvarin_test_support GTest::gmock GTest::gtest_main ${ARG_LIBRARIES})
  # A host makes its folders and keeps its preferences where these point to: never in the home of whoever runs the tests.
  # GCC 12's leak check reads thread-local storage of ended threads where it follows that of loaded libraries, and crashes.
  set(home ${CMAKE_BINARY_DIR}/tests/home)
  set(environment "LC_ALL=C.UTF-8" "XDG_CONFIG_HOME=${home}/config" "XDG_DATA_HOME=${home}/data"
    "XDG_CACHE_HOME=${home}/cache" "XDG_CONFIG_DIRS=${home}/machine" "SELVARIN_PLUGIN_TRIAL=off"
    "ASAN_OPTIONS=intercept_tls_get_addr=0" "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0"
    "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/tsan.supp" ${ARG_ENVIRONMENT})
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 TEST_LIST ${name}_TESTS
    PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
  # A property that is a list does not survive gtest_discover_tests, which would take its further items for properties of
  # their own: the environment is set where the discovered tests are known.
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}_environment.cmake)
  file(WRITE ${script} "foreach(test IN LISTS ${name}_TESTS)
  set_tests_properties(\"\${test}\" PROPERTIES ENVIRONMENT \"${environment}\")
endforeach()
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
endfunction()
