# Debian packages, one for each component of the installation; scripts/package makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME selvarin)
set(CPACK_PACKAGE_VENDOR Selvarin)
set(CPACK_PACKAGE_CONTACT "The developers of Selvarin <developers@selvarin.invalid>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library programs development)
if(SELVARIN_STUDIO)
  list(APPEND CPACK_COMPONENTS_ALL studio)
endif()
if(SELVARIN_HAS_CAD)
  list(APPEND CPACK_COMPONENTS_ALL cad)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
# What the programs are linked with is found out; libselvarin itself lies in a folder of its own.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${SELVARIN_BIN_DIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(same "libselvarin (= ${PROJECT_VERSION})")
# EGL's driver is loaded by name.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libselvarin)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libegl1, libegl-mesa0, libgl1-mesa-dri")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS selvarin-cad)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "non-photorealistic renderer: library, shaders, styles
 Draws 3-D scenes as a person would: as cartoons, sketches and line drawings, as pictures or as vector graphics.")
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME selvarin)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_DEPENDS "${same}")
set(CPACK_DEBIAN_PROGRAMS_DESCRIPTION "non-photorealistic renderer: command line
 Draws models in many formats to pictures and vector drawings.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libselvarin-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${same}, libopengl-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "qt6-base-dev, qt6-svg-dev, qt6-tools-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "non-photorealistic renderer: development files
 Headers, the kit for shader plug-ins, the importer and the dialogs for programs of others.")
set(CPACK_DEBIAN_STUDIO_PACKAGE_NAME selvarin-studio)
set(CPACK_DEBIAN_STUDIO_PACKAGE_DEPENDS "${same}, qt6-qpa-plugins, libqt6svg6")
set(CPACK_DEBIAN_STUDIO_DESCRIPTION "non-photorealistic renderer: desktop application
 Opens models, orbits them, changes their look and saves pictures and vector drawings.")
set(CPACK_DEBIAN_CAD_PACKAGE_NAME selvarin-cad)
set(CPACK_DEBIAN_CAD_PACKAGE_DEPENDS "${same}")
set(CPACK_DEBIAN_CAD_DESCRIPTION "non-photorealistic renderer: files of CAD programs
 Reads STEP, IGES and BREP files with their exact surfaces and edges.")
include(CPack)
