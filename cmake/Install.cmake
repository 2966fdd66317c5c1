# What `make install` puts where.

set(KESTRIX_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/kestrixdispengine)
set(KESTRIX_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KestrixDispEngine)

install(TARGETS kestrixdispengine EXPORT KestrixDispEngineTargets)
install(TARGETS kestrix-disp)
install(FILES converter/RuvoConverter.h DESTINATION ${KESTRIX_HEADER_DIR}/converter)
install(FILES engine/KestrixDispEngine.h engine/TagParser.h DESTINATION ${KESTRIX_HEADER_DIR}/engine)
install(DIRECTORY tags/ DESTINATION ${KESTRIX_HEADER_DIR}/tags FILES_MATCHING PATTERN "*TagParser*.h")

install(EXPORT KestrixDispEngineTargets NAMESPACE Kestrix:: DESTINATION ${KESTRIX_PACKAGE_DIR})
configure_package_config_file(cmake/KestrixDispEngineConfig.cmake.in
  ${CMAKE_BINARY_DIR}/cmake/KestrixDispEngineConfig.cmake
  INSTALL_DESTINATION ${KESTRIX_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cmake/KestrixDispEngineConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_BINARY_DIR}/cmake/KestrixDispEngineConfig.cmake
  ${CMAKE_BINARY_DIR}/cmake/KestrixDispEngineConfigVersion.cmake
  DESTINATION ${KESTRIX_PACKAGE_DIR})

# The prefix may be given at install time only, so the file is written then.
install(CODE "
  set(prefix \"\${CMAKE_INSTALL_PREFIX}\")
  set(libdir \"${CMAKE_INSTALL_LIBDIR}\")
  set(includedir \"${KESTRIX_HEADER_DIR}\")
  set(version \"${PROJECT_VERSION}\")
  configure_file(\"${CMAKE_CURRENT_SOURCE_DIR}/cmake/kestrixdispengine.pc.in\"
                 \"${CMAKE_BINARY_DIR}/cmake/kestrixdispengine.pc\" @ONLY)")
install(FILES ${CMAKE_BINARY_DIR}/cmake/kestrixdispengine.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The default profile stands where the library looks for it, whatever the prefix.
install(DIRECTORY ${CMAKE_BINARY_DIR}/profile-installed/ DESTINATION ${KESTRIX_MODULE_ROOT}/default)
install(FILES ${CMAKE_BINARY_DIR}/profile-id/DEFAULT.txt DESTINATION ${KESTRIX_MODULE_ROOT})
