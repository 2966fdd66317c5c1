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

# The documentation lies as in the sources, as its pages have links to each other; the schema and the
# examples are links to those above.
set(KESTRIX_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/kestrix-disp)
install(FILES README.md SECURITY.md CONTRIBUTING.md DESTINATION ${KESTRIX_DOC_DIR})
install(FILES bench/README.md DESTINATION ${KESTRIX_DOC_DIR}/bench)
install(FILES profiles/README.md DESTINATION ${KESTRIX_DOC_DIR}/profiles)
install(FILES examples/README.md DESTINATION ${KESTRIX_DOC_DIR}/examples)
install(DIRECTORY examples/till DESTINATION ${KESTRIX_DOC_DIR}/examples)
configure_file(CHANGELOG.md ${CMAKE_BINARY_DIR}/cmake/changelog COPYONLY)
execute_process(COMMAND gzip -9nf ${CMAKE_BINARY_DIR}/cmake/changelog COMMAND_ERROR_IS_FATAL ANY)
install(FILES ${CMAKE_BINARY_DIR}/cmake/changelog.gz DESTINATION ${KESTRIX_DOC_DIR})
install(DIRECTORY docs DESTINATION ${KESTRIX_DOC_DIR} FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
set(link_dir ${CMAKE_BINARY_DIR}/cmake/documentation)
file(REMOVE_RECURSE ${link_dir})
file(MAKE_DIRECTORY ${link_dir}/docs ${link_dir}/examples)
file(GLOB examples CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} examples/*.xml)
foreach(example ${examples})
  file(CREATE_LINK ../../../kestrix-disp/${example} ${link_dir}/${example} SYMBOLIC)
endforeach()
foreach(schema ovix-display.rnc ovix-display.rng catalog.xml)
  file(CREATE_LINK ../../../kestrix-disp/${schema} ${link_dir}/docs/${schema} SYMBOLIC)
endforeach()
install(DIRECTORY ${link_dir}/ DESTINATION ${KESTRIX_DOC_DIR})
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
install(DIRECTORY ${CMAKE_BINARY_DIR}/profile-installed/ DESTINATION ${KESTRIX_MODULE_ROOT})
