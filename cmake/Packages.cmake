# The Debian packages of `make deb`, one for each component of Install.cmake.

set(CPACK_PACKAGE_NAME kestrixdispengine)
set(CPACK_PACKAGE_CONTACT "Kestrix display engine maintainers <maintainers@kestrix.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR ON) # the folders of Perl, Python and the profile are absolute
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# dpkg-shlibdeps finds the dependencies on other libraries.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(package_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(same_version "(= ${package_version})")
set(deb_dir ${PROJECT_SOURCE_DIR}/cmake/deb)
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)

# kestrix_package(COMPONENT NAME SECTION SUMMARY TEXT [ALL] [DEPENDS ..] [RECOMMENDS ..] [CONTROL FILES])
macro(kestrix_package component name section summary text)
  cmake_parse_arguments(package "ALL" "DEPENDS;RECOMMENDS" "CONTROL" ${ARGN})
  string(TOUPPER ${component} key)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${key}_DESCRIPTION "${summary}\n${text}")
  set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${package_DEPENDS}")
  set(CPACK_DEBIAN_${key}_PACKAGE_RECOMMENDS "${package_RECOMMENDS}")
  set(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA "${package_CONTROL}")
  if(package_ALL)
    set(CPACK_DEBIAN_${key}_PACKAGE_ARCHITECTURE all)
  endif()

  # A Debian package must contain its changelog and copyright.
  set(package_name ${name})
  set(folder ${CMAKE_BINARY_DIR}/cmake/deb/${name})
  configure_file(cmake/deb/changelog.in ${folder}/changelog @ONLY)
  execute_process(COMMAND gzip -9nf ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${folder}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
    RENAME changelog.Debian.gz COMPONENT ${component})
  install(FILES cmake/deb/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
    COMPONENT ${component})
  if(EXISTS ${deb_dir}/${name}.lintian-overrides)
    install(FILES cmake/deb/${name}.lintian-overrides RENAME ${name}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component})
  endif()
endmacro()

set(what "The library turns a short XML document, which says what the display that
faces the customer is to show, into the byte stream of Kestrix display
commands to send.")

kestrix_package(library libkestrixdispengine1 libs
  "customer display documents to display commands"
  "${what}"
  RECOMMENDS kestrix-profile-default
  CONTROL ${deb_dir}/triggers)
kestrix_package(development libkestrixdispengine-dev libdevel
  "customer display documents to display commands (development)"
  "${what}\n.\nHeaders, pkg-config file and CMake package. The manual is in kestrix-disp."
  DEPENDS "libkestrixdispengine1 ${same_version}"
  RECOMMENDS kestrix-disp)
kestrix_package(perl libkestrixdispengine-perl perl
  "customer display documents to display commands (Perl module)"
  "${what}\n.\nThe Perl module KestrixDispEngine."
  DEPENDS "libkestrixdispengine1 ${same_version}, perl, perlapi-${KESTRIX_PERL_VERSION}")
kestrix_package(python python3-kestrixdisp python
  "customer display documents to display commands (Python 3 module)"
  "${what}\n.\nThe Python package kestrixdisp."
  DEPENDS "libkestrixdispengine1 ${same_version}, python3 (>= 3.9)"
  ALL CONTROL ${deb_dir}/python3-kestrixdisp/postinst ${deb_dir}/python3-kestrixdisp/prerm)
kestrix_package(program kestrix-disp utils
  "renders and checks customer display documents"
  "Renders, explains and previews display documents, checks device profiles,
and says which characters a profile has. With a schema of the documents,
examples, and the manual of program and library."
  DEPENDS "libkestrixdispengine1 ${same_version}, xml-core"
  RECOMMENDS kestrix-profile-default
  CONTROL ${deb_dir}/kestrix-disp/postinst ${deb_dir}/kestrix-disp/prerm
    ${deb_dir}/kestrix-disp/postrm)
# In /usr/local, as the library looks for ID files in /usr/local/KALDO/HalvoCvt only.
kestrix_package(profile kestrix-profile-default misc
  "default device profile of the Kestrix display engine"
  "Code tables and character sets of a display with nine code pages. They are
in /usr/local/KALDO/HalvoCvt, the one place where the library looks."
  ALL CONTROL ${deb_dir}/conffiles)
install(FILES /usr/share/doc/unicode-data/copyright RENAME UnicodeData.copyright
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kestrix-profile-default COMPONENT profile)

include(CPack)
