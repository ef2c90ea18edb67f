# Debian packages, which cpack makes from a build of the shared library: libtaro25d2 to run programs, libtaro25d-dev to
# build them. With the prefix /usr, as the preset "package" has it, libraries go into the folder of the architecture.

# The packages' own changelog tells their revision and who maintains them.
set(changelog ${PROJECT_SOURCE_DIR}/packaging/changelog)
set(changes ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${changelog} ${changes})
file(READ ${changelog} entries)
if(NOT entries MATCHES "^taro25d \\(${PROJECT_VERSION}-([0-9]+)\\)")
  message(FATAL_ERROR "The first entry of ${changelog} is not for version ${PROJECT_VERSION}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
string(REGEX MATCH "\n -- ([^>]*>)" signature "${entries}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${CMAKE_MATCH_1})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE taro25d)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/finish.cmake)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each has its own as the first line of its description
set(about "A library that triangulates points with heights, such as terrain and survey
data: exact for every finite input, with breaklines, zones, quality meshes,
contour lines, and volumes of cut and fill.
")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtaro25d${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "2.5-D Delaunay triangulation of height data
${about}
This package contains the shared library.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtaro25d-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "2.5-D Delaunay triangulation of height data (development files)
${about}
This package contains the headers, the static library, and what CMake and
pkg-config read. Those who link statically also need libgmp-dev.")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libgmp-dev)

# What the packages have beyond an ordinary installation.
add_library(taro25d_static STATIC $<TARGET_OBJECTS:taro25d_objects>)
set_target_properties(taro25d_static PROPERTIES OUTPUT_NAME taro25d)
install(TARGETS taro25d_static ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development EXCLUDE_FROM_ALL)

execute_process(COMMAND gzip -9n INPUT_FILE ${changelog} OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.Debian.gz)
execute_process(COMMAND gzip -9n INPUT_FILE ${changes} OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.gz)
foreach(component runtime development)
  string(TOUPPER ${component} upper)
  set(place DESTINATION share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${TARO25D_LICENSE} RENAME copyright ${place})
  install(FILES ${PROJECT_BINARY_DIR}/changelog.Debian.gz ${PROJECT_BINARY_DIR}/changelog.gz ${place})
endforeach()

include(CPack)
