# Read by cpack for each generator: the RPM takes the default component and its
# license file, the .deb the default component and Debian's own files.
if(CPACK_GENERATOR STREQUAL "RPM")
  set(CPACK_INSTALL_CMAKE_PROJECTS "${CPACK_VANTOR_BUILD_DIR};vantorctl;Unspecified;/;${CPACK_VANTOR_BUILD_DIR};vantorctl;rpm;/")
endif()
