# Read by cpack for each package format (CPACK_PROJECT_CONFIG_FILE): the components of the
# install rules the package holds (see package.cmake).
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_COMPONENTS_ALL program manpage deb)
elseif(CPACK_GENERATOR STREQUAL "RPM")
  set(CPACK_COMPONENTS_ALL program rpm)
endif()
