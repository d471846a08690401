# The packages of orvconfig, from the install rules of a build directory:
#   cpack -G DEB   orvconfig_<version>_<arch>.deb, clean under lintian;
#   cpack -G RPM   orvconfig-<version>-<release>.<arch>.rpm, clean under rpmlint (but for
#                  no-signature: signing is the site's).
# Both hold the binary (stripped), the compressed manual page, the bash completion and the
# license (LICENSE). Each package takes the components of the install rules its format
# wants (cmake/package_generator.cmake chooses them):
#   program, manpage   the binary and completion; the page gzip-compressed (CMakeLists.txt)
#   deb                usr/share/doc/orvconfig/copyright, machine-readable (DEP-5), made
#                      from LICENSE; changelog.gz, the Debian-format NEWS of the repository
#   rpm                the page bzip2-compressed (the extension rpmlint checks for; man
#                      reads either) and usr/share/licenses/orvconfig/LICENSE
# The deb and rpm components are left out of a plain `cmake --install`.
# Overrides: no lintian tag is overridden. rpmlint runs with cmake/rpmlint.toml, which
# gives the license list Debian's rpmlint ships empty (so that every license is reported
# invalid) and filters one warning, no-manual-page-for-binary, which rpmlint 2.4 reports
# for every binary whatever pages the package holds (it compares the binary's name with the
# pages' section numbers); packaging.t checks the page is in the package.

# cpack alone makes the .deb.
set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "orvconfig")
set(CPACK_PACKAGE_VENDOR "orvconfig maintainers")
set(CPACK_PACKAGE_CONTACT "orvconfig maintainers <orvconfig@example.org>")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
# The extended description of both packages, lines of at most 79 characters.
set(CPACK_PACKAGE_DESCRIPTION
    "orvconfig is the command with which a cluster administrator configures the
host it runs on: the ordered list of master candidates, joining a cluster or
creating one, moving the host onto the shared configuration directory and back,
the communication ports, the HDFS service port and the host's resource
attribute tags. It only rewrites the configuration files on disk and never
contacts a daemon.")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://orvconfig.example.org/")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
# A shipped binary carries no debugging symbols.
set(CPACK_STRIP_FILES ON)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/package_generator.cmake)
# One package per format, made of the components package_generator.cmake lists.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)

set(CPACK_DEBIAN_PACKAGE_NAME "orvconfig")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_SECTION "admin")
set(CPACK_DEBIAN_PACKAGE_PRIORITY "optional")
# The Description field: the summary line, then the extended text (CPack indents each of
# its lines by one blank in the control file).
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION}")
# Depends is computed from the binary's shared libraries (needs dpkg-shlibdeps of
# dpkg-dev, and file): libc alone for a Release build, which carries the C++ runtime.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "bash-completion")

set(CPACK_RPM_PACKAGE_NAME "orvconfig")
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE "1")
set(CPACK_RPM_PACKAGE_LICENSE "BSD-3-Clause")
set(CPACK_RPM_PACKAGE_GROUP "Applications/System")
set(CPACK_RPM_PACKAGE_URL "${CPACK_PACKAGE_HOMEPAGE_URL}")
set(CPACK_RPM_PACKAGE_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION}")
set(CPACK_RPM_PACKAGE_SUGGESTS "bash-completion")
# CPack has no variable for the Packager tag; rpmbuild takes it from this macro.
set(CPACK_RPM_SPEC_MORE_DEFINE "%define packager ${CPACK_PACKAGE_CONTACT}")
# The spec's %changelog, from NEWS: one entry per release, newest first.
file(STRINGS ${PROJECT_SOURCE_DIR}/NEWS orv_news)
set(orv_rpm_changelog "")
set(orv_entry "")
foreach(line IN LISTS orv_news)
  if(line MATCHES "^orvconfig \\(([^)]+)\\)")
    set(orv_entry_version ${CMAKE_MATCH_1})
    set(orv_entry "")
  elseif(line MATCHES "^  \\* (.*)")
    string(APPEND orv_entry "- ${CMAKE_MATCH_1}\n")
  elseif(line MATCHES "^    (.*)")
    string(APPEND orv_entry "  ${CMAKE_MATCH_1}\n")
  elseif(line MATCHES "^ -- (.*)  ([A-Z][a-z][a-z]), ([0-9]+) ([A-Z][a-z][a-z]) ([0-9]+) ")
    string(APPEND orv_rpm_changelog "* ${CMAKE_MATCH_2} ${CMAKE_MATCH_4} ${CMAKE_MATCH_3} "
           "${CMAKE_MATCH_5} ${CMAKE_MATCH_1} - ${orv_entry_version}-${CPACK_RPM_PACKAGE_RELEASE}\n"
           "${orv_entry}\n")
  endif()
endforeach()
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/rpm/changelog "${orv_rpm_changelog}")
set(CPACK_RPM_CHANGELOG_FILE ${CMAKE_CURRENT_BINARY_DIR}/rpm/changelog)
# Directories of the file system and of bash-completion belong to those packages.
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /usr/share/man /usr/share/man/man1 /usr/share/bash-completion
    /usr/share/bash-completion/completions /usr/share/licenses)

# The deb component: the copyright file in the machine-readable format, its license text
# that of LICENSE (one blank before each line, " ." for an empty one), and the changelog.
file(READ ${PROJECT_SOURCE_DIR}/LICENSE orv_license)
string(REGEX REPLACE "^Copyright \\(C\\) ([0-9]+) ([^\n]*)\\. All rights reserved\\.\n\n" ""
       orv_license_terms "${orv_license}")
set(orv_copyright_holders "${CMAKE_MATCH_1} ${CMAKE_MATCH_2}")
string(REGEX REPLACE "\n+$" "" orv_license_terms "${orv_license_terms}")
string(REGEX REPLACE "\n\n" "\n.\n" orv_license_terms "${orv_license_terms}")
string(REGEX REPLACE "\n" "\n " orv_license_terms " ${orv_license_terms}")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/copyright
"Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: orvconfig
Upstream-Contact: ${CPACK_PACKAGE_CONTACT}
Source: ${CPACK_PACKAGE_HOMEPAGE_URL}

Files: *
Copyright: ${orv_copyright_holders}
License: BSD-3-Clause

License: BSD-3-Clause
${orv_license_terms}
")
add_custom_command(OUTPUT changelog.gz
  COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/NEWS changelog
  COMMAND ${GZIP} -9nf changelog
  DEPENDS NEWS VERBATIM)
set(orv_docdir ${CMAKE_INSTALL_DATADIR}/doc/orvconfig)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
        DESTINATION ${orv_docdir} COMPONENT deb EXCLUDE_FROM_ALL)

# The rpm component.
find_program(BZIP2 bzip2 REQUIRED)
add_custom_command(OUTPUT rpm/orvconfig.1.bz2
  COMMAND ${CMAKE_COMMAND} -E make_directory rpm
  COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/docs/orvconfig.1 rpm/orvconfig.1
  COMMAND ${BZIP2} -9f rpm/orvconfig.1
  DEPENDS docs/orvconfig.1 VERBATIM)
add_custom_target(orvconfig_package_files ALL DEPENDS changelog.gz rpm/orvconfig.1.bz2)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rpm/orvconfig.1.bz2 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
        COMPONENT rpm EXCLUDE_FROM_ALL)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/licenses/orvconfig
        COMPONENT rpm EXCLUDE_FROM_ALL)

include(CPack)
