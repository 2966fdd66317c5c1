# Where `make install` puts what. Each component is a Debian package of Packages.cmake.

set(KESTRIX_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/kestrixdispengine)
set(KESTRIX_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KestrixDispEngine)

install(TARGETS kestrixdispengine EXPORT KestrixDispEngineTargets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME program)
install(TARGETS kestrix-disp)
install(FILES ${CMAKE_BINARY_DIR}/kestrix-disp.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES program/completion.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  RENAME kestrix-disp)
install(FILES docs/ovix-display.rnc docs/ovix-display.rng docs/catalog.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/kestrix-disp)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/kestrix-disp
  FILES_MATCHING PATTERN "*.xml" PATTERN till EXCLUDE)
configure_file(docs/kestrix-disp.1 ${CMAKE_BINARY_DIR}/kestrix-disp.1 @ONLY)
add_custom_command(
  OUTPUT ${CMAKE_BINARY_DIR}/kestrix-disp.1.gz
  COMMAND gzip -9nkf ${CMAKE_BINARY_DIR}/kestrix-disp.1
  DEPENDS ${CMAKE_BINARY_DIR}/kestrix-disp.1)
add_custom_target(manual ALL DEPENDS ${CMAKE_BINARY_DIR}/kestrix-disp.1.gz)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(FILES converter/RuvoConverter.h DESTINATION ${KESTRIX_HEADER_DIR}/converter)
install(FILES engine/KestrixDispEngine.h engine/TagParser.h engine/kestrix_disp.h
  DESTINATION ${KESTRIX_HEADER_DIR}/engine)
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

# The prefix may be given as late as at install time, so the file is written then.
install(CODE "
  set(prefix \"\${CMAKE_INSTALL_PREFIX}\")
  set(libdir \"${CMAKE_INSTALL_LIBDIR}\")
  set(includedir \"${KESTRIX_HEADER_DIR}\")
  set(version \"${PROJECT_VERSION}\")
  configure_file(\"${CMAKE_CURRENT_SOURCE_DIR}/cmake/kestrixdispengine.pc.in\"
                 \"${CMAKE_BINARY_DIR}/cmake/kestrixdispengine.pc\" @ONLY)" COMPONENT development)
install(FILES ${CMAKE_BINARY_DIR}/cmake/kestrixdispengine.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME profile)
# The default profile goes where the library looks for it, whatever the prefix is.
install(DIRECTORY ${CMAKE_BINARY_DIR}/profile-installed/ DESTINATION ${KESTRIX_MODULE_ROOT}/default)
install(FILES ${CMAKE_BINARY_DIR}/profile-id/DEFAULT.txt DESTINATION ${KESTRIX_MODULE_ROOT})
