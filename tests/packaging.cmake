# The packaging suite installs and packages the build directory it runs in: tell it
# where that is.
if(TEST cli_packaging)
  set_property(TEST cli_packaging APPEND PROPERTY ENVIRONMENT "ORV_BUILD_DIR=${CMAKE_BINARY_DIR}")
endif()
