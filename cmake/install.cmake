# Installs the headers, the library, the CMake package and the pkg-config module.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(TARO25D_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/taro25d)
set(TARO25D_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The component "runtime" is what a program needs to run; "development" what it takes to build one.
install(TARGETS taro25d EXPORT taro25dTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${TARO25D_PUBLIC_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/taro25d COMPONENT development)
install(FILES ${TARO25D_LICENSE} RENAME LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(EXPORT taro25dTargets NAMESPACE taro25d:: DESTINATION ${TARO25D_CMAKE_DIR} COMPONENT development)
configure_package_config_file(cmake/taro25dConfig.cmake.in ${PROJECT_BINARY_DIR}/taro25dConfig.cmake
  INSTALL_DESTINATION ${TARO25D_CMAKE_DIR}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/taro25dConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/taro25dConfig.cmake
  ${PROJECT_BINARY_DIR}/taro25dConfigVersion.cmake
  DESTINATION ${TARO25D_CMAKE_DIR} COMPONENT development)

# What a client must link beside the library itself: the shared one brings its own, a static one cannot.
set(TARO25D_PC_OWN_LIBS "-lgmp -pthread")
if(BUILD_SHARED_LIBS)
  set(TARO25D_PC_LIBS "")
  set(TARO25D_PC_LIBS_PRIVATE "${TARO25D_PC_OWN_LIBS}")
else()
  set(TARO25D_PC_LIBS " ${TARO25D_PC_OWN_LIBS}")
  set(TARO25D_PC_LIBS_PRIVATE "")
endif()
# Relative to the place of the .pc file, so that the installed tree may be moved.
file(RELATIVE_PATH TARO25D_PC_PREFIX
  ${CMAKE_INSTALL_PREFIX}/${TARO25D_PKGCONFIG_DIR} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" TARO25D_PC_PREFIX "${TARO25D_PC_PREFIX}")
configure_file(cmake/taro25d.pc.in ${PROJECT_BINARY_DIR}/taro25d.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/taro25d.pc DESTINATION ${TARO25D_PKGCONFIG_DIR} COMPONENT development)
