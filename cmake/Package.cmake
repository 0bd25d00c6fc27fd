# SPDX-License-Identifier: Apache-2.0
# cmake --install puts programs, libraries, manual and completion below a prefix; the
# programs find their libraries relative to themselves, so that the tree can be moved.
# `cpack -G DEB` makes a package of it.
include(GNUInstallDirs)

# Of no use to other programs, hence in a folder of their own; where Debian has the
# libraries of each architecture, so that no package of it calls ldconfig for them.
set(private_libdir lib/${CMAKE_LIBRARY_ARCHITECTURE}/hidlaudio)
set(programs hidlaudio audio_hal tv tv_stress audioctl soak_client)
set(libraries hidlbase host_middleware host_power)

file(RELATIVE_PATH to_libraries /${CMAKE_INSTALL_BINDIR} /${private_libdir})
set_target_properties(${programs} PROPERTIES
  INSTALL_RPATH "$ORIGIN/${to_libraries};${HIDLAUDIO_ANDROID_LIBDIR}")
set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "$ORIGIN;${HIDLAUDIO_ANDROID_LIBDIR}")

# `tv boot` starts the programs that lie beside `tv`.
install(TARGETS ${programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS ${libraries} LIBRARY DESTINATION ${private_libdir})
install(DIRECTORY host/stress/scenarios DESTINATION ${CMAKE_INSTALL_DATADIR}/hidlaudio)
install(FILES README.md ARCHITECTURE.md CHANGELOG.md CONTRIBUTING.md NOTICE SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
foreach(page ${HIDLAUDIO_PAGES})
  string(REGEX MATCH "[18][.]gz$" section ${page})
  string(SUBSTRING ${section} 0 1 section)
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()
# bash looks for the name of the command.
foreach(command audioctl tv tv_stress)
  install(FILES tools/manual/completion.bash RENAME ${command}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()

include(cmake/DebianPackage.cmake)
