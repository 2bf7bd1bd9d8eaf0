# Library, plug-ins and language modules stand together in <libdir>/selvarin, as the library looks for its plug-ins
# beside itself.
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

install(TARGETS selvarin EXPORT SelvarinTargets
  LIBRARY DESTINATION ${SELVARIN_INSTALL_LIBDIR} COMPONENT library
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/selvarin)
set(SELVARIN_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Selvarin)
install(EXPORT SelvarinTargets NAMESPACE Selvarin:: DESTINATION ${SELVARIN_PACKAGE_DIR})
# What needs more than the library does is a component of the package: the importer, and the windows by Qt.
install(EXPORT SelvarinImportTargets NAMESPACE Selvarin:: DESTINATION ${SELVARIN_PACKAGE_DIR})
if(SELVARIN_STUDIO)
  install(EXPORT SelvarinQtTargets NAMESPACE Selvarin:: DESTINATION ${SELVARIN_PACKAGE_DIR})
endif()
install(FILES cmake/SelvarinShader.cmake cmake/MakePageTexts.cmake DESTINATION ${SELVARIN_PACKAGE_DIR})
configure_package_config_file(cmake/SelvarinConfig.cmake.in SelvarinConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvarin)
write_basic_package_version_file(SelvarinConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/SelvarinConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/SelvarinConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvarin)
# The prefix as seen from the file's own folder, so that the package can be moved.
file(RELATIVE_PATH SELVARIN_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" SELVARIN_PC_PREFIX "${SELVARIN_PC_PREFIX}")
# The library, and one file for each archive beside it: name, what it is, what it needs.
configure_file(cmake/selvarin.pc.in selvarin.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/selvarin.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
function(selvarin_archive_pc name description requires libraries)
  set(SELVARIN_PC_NAME ${name})
  set(SELVARIN_PC_DESCRIPTION "${description}")
  set(SELVARIN_PC_REQUIRES "${requires}")
  set(SELVARIN_PC_LIBRARIES "${libraries}")
  configure_file(cmake/selvarin-archive.pc.in selvarin-${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/selvarin-${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
selvarin_archive_pc(kit "The kit of Selvarin's shader plug-ins" "selvarin" "-lOpenGL")
selvarin_archive_pc(import "Model files to Selvarin's scenes" "selvarin" "")
if(SELVARIN_STUDIO)
  selvarin_archive_pc(qt "Selvarin's dialogs in windows of Qt" "selvarin Qt6Widgets Qt6Svg Qt6UiTools" "")
endif()
