# SPDX-License-Identifier: Apache-2.0
# `cpack -G DEB` creates a Debian package of the installed tree in the build folder.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME hidlaudio)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "vendor audio service of a TV, on a virtual TV")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"The daemon hidlaudio offers the audio features of a TV over HIDL: announced
HDMI formats, forced encoding of the external output, speakers, room
calibration, headphone virtualizer, microphone.
.
This package has it with a virtual TV, a folder that stands in for the TV's
middleware, kernel drivers and audio HAL: tv(1) makes and boots one,
audioctl(1) uses the services, the Python package hidlaudio tests them, and
hidlaudio-junit.jar does so in Java.")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "hidlaudio maintainers <maintainers@hidlaudio.invalid>")
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "bash-completion, default-jdk-headless, junit5, python3-pytest")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian/folder_modes.cmake)
# Let cpack find the packages on which the programs depend. Their own libraries are in the build folder.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

# Debian's policy requires changelog and copyright. The changelog has the date of the version, so that
# builds are reproducible.
execute_process(COMMAND date -u -R -d ${HIDLAUDIO_DATE} OUTPUT_VARIABLE changelog_date
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(changelog ${CMAKE_BINARY_DIR}/debian/changelog)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in ${changelog} @ONLY)
add_custom_command(OUTPUT ${changelog}.gz COMMAND ${GZIP} -9nkf ${changelog} DEPENDS ${changelog} VERBATIM)
add_custom_target(changelog ALL DEPENDS ${changelog}.gz)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/copyright ${changelog}.gz DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/lintian-overrides RENAME hidlaudio
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides)

include(CPack)
