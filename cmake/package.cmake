# Debian package of orvconfig: `cpack -G DEB` in a build directory makes
# orvconfig_<version>_<arch>.deb from the install rules (the binary, the man page and the
# bash completion), with its shared-library dependencies computed by dpkg-shlibdeps.

set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "orvconfig")
set(CPACK_PACKAGE_VENDOR "orvconfig maintainers")
set(CPACK_PACKAGE_CONTACT "orvconfig maintainers <orvconfig@example.org>")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
# A shipped binary carries no debugging symbols.
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_PACKAGE_NAME "orvconfig")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "orvconfig maintainers <orvconfig@example.org>")
set(CPACK_DEBIAN_PACKAGE_SECTION "admin")
set(CPACK_DEBIAN_PACKAGE_PRIORITY "optional")
# The Description field: the summary line above, then this extended text (CPack indents
# each of its lines by one blank in the control file).
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "orvconfig is the command with which a cluster administrator configures the
host it runs on: the ordered list of master candidates, joining a cluster or
creating one, moving the host onto the shared configuration directory and back,
the communication ports, the HDFS service port and the host's resource
attribute tags. It only rewrites the configuration files on disk and never
contacts a daemon.")
# Depends is computed from the binary's shared libraries (needs dpkg-shlibdeps of
# dpkg-dev, and file): libc alone for a Release build, which carries the C++ runtime.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "bash-completion")

include(CPack)
