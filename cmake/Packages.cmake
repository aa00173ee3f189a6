# Debian packages, one a component: cpack -G DEB makes libzelumo (the plug-in and the platform's library),
# zelumo-tv (the host and its web files) and zelumo-dev (what building against them takes).
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL libzelumo zelumo-tv zelumo-dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_VENDOR "libzelumo developers")
set(CPACK_PACKAGE_CONTACT "libzelumo developers <libzelumo@localhost>")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_LIBZELUMO_PACKAGE_NAME libzelumo)
set(CPACK_DEBIAN_LIBZELUMO_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBZELUMO_DESCRIPTION
  "Plug-in of a television's web runtime for a streaming-channel page")
set(CPACK_DEBIAN_ZELUMO-TV_PACKAGE_NAME zelumo-tv)
set(CPACK_DEBIAN_ZELUMO-TV_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_ZELUMO-TV_DESCRIPTION
  "Host that runs the streaming-channel plug-in off the television")
set(CPACK_DEBIAN_ZELUMO-DEV_PACKAGE_NAME zelumo-dev)
set(CPACK_DEBIAN_ZELUMO-DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_ZELUMO-DEV_DESCRIPTION
  "Headers and CMake package for building the streaming-channel plug-in")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# The packages of one build belong together: they depend on each other in exactly this version.
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

include(CPack)
cpack_add_component(libzelumo)
cpack_add_component(zelumo-tv DEPENDS libzelumo)
cpack_add_component(zelumo-dev DEPENDS libzelumo)
