# Library, plug-ins and language modules stand together in <libdir>/selvarin, as the library looks for its plug-ins
# beside itself.
include(CMakePackageConfigHelpers)

install(TARGETS selvarin EXPORT SelvarinTargets
  LIBRARY DESTINATION ${SELVARIN_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/selvarin)
install(EXPORT SelvarinTargets NAMESPACE Selvarin:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvarin)
configure_package_config_file(cmake/SelvarinConfig.cmake.in SelvarinConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvarin)
write_basic_package_version_file(SelvarinConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/SelvarinConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/SelvarinConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvarin)
# The prefix as seen from the file's own folder, so that the package can be moved.
file(RELATIVE_PATH SELVARIN_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" SELVARIN_PC_PREFIX "${SELVARIN_PC_PREFIX}")
configure_file(cmake/selvarin.pc.in selvarin.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/selvarin.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
