# SPDX-License-Identifier: Apache-2.0
# `cmake --install` installs programs, libraries, manual pages and completion below a prefix. The programs
# find their libraries relative to themselves, so that the tree can be moved. `cpack -G DEB` creates a
# package of it.
include(GNUInstallDirs)

# The libraries are private, hence the subfolder. It is below Debian's library folder of the architecture
# and is not searched by ld.so, so the package need not call ldconfig.
set(private_libdir lib/${CMAKE_LIBRARY_ARCHITECTURE}/hidlaudio)
set(programs hidlaudio audio_hal tv tv_stress audioctl soak_client)
set(libraries hidlbase host_middleware host_power hidlaudio_recorder)
get_target_property(recorder_libraries hidlaudio_recorder LIBRARIES)

file(RELATIVE_PATH to_libraries /${CMAKE_INSTALL_BINDIR} /${private_libdir})
set_target_properties(${programs} PROPERTIES
  INSTALL_RPATH "$ORIGIN/${to_libraries};$ORIGIN/../lib;${HIDLAUDIO_ANDROID_LIBDIR}")
set_target_properties(${libraries} hidl_client PROPERTIES INSTALL_RPATH "$ORIGIN;${HIDLAUDIO_ANDROID_LIBDIR}")

# `tv boot` starts the programs in the folder of `tv`.
install(TARGETS ${programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS ${libraries} LIBRARY DESTINATION ${private_libdir})
# `tv record` looks for them next to the HIDL runtime.
install(TARGETS ${recorder_libraries} LIBRARY DESTINATION ${private_libdir}/hidlaudio_recorder)
install(TARGETS hidl_client RUNTIME DESTINATION ${private_libdir})
install(FILES $<TARGET_FILE:hidl_client>.json DESTINATION ${private_libdir})
set(python_modules lib/python3/dist-packages)
install(DIRECTORY host/python/hidlaudio DESTINATION ${python_modules} FILES_MATCHING PATTERN *.py PATTERN __pycache__ EXCLUDE)
install(DIRECTORY ${CMAKE_BINARY_DIR}/host/python/dist-info/ DESTINATION ${python_modules}/hidlaudio-${PROJECT_VERSION}.dist-info)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
  FILES_MATCHING PATTERN *.java PATTERN *.kt PATTERN pom.xml PATTERN *.gradle)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs FILES_MATCHING PATTERN *.md PATTERN *.py PATTERN __pycache__ EXCLUDE)
install(DIRECTORY host/stress/scenarios DESTINATION ${CMAKE_INSTALL_DATADIR}/hidlaudio)
install(FILES README.md ARCHITECTURE.md CHANGELOG.md CONTRIBUTING.md NOTICE SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(HIDLAUDIO_JAVA)
  # Debian's Java policy: libraries in share/java, and a Maven repository that links to them.
  set_target_properties(hidl_java PROPERTIES INSTALL_RPATH "$ORIGIN;$ORIGIN/../lib;${HIDLAUDIO_ANDROID_LIBDIR}")
  install(TARGETS hidl_java LIBRARY DESTINATION ${private_libdir})
  set(java_libraries hidl-runtime hidlaudio-java)
  if(TARGET hidlaudio-junit)
    list(APPEND java_libraries hidlaudio-junit)
  endif()
  foreach(name ${java_libraries})
    install(FILES ${HIDLAUDIO_JAVA_DIR}/${name}.jar DESTINATION share/java)
  endforeach()
  install(DIRECTORY ${HIDLAUDIO_JAVA_DIR}/maven/ DESTINATION share/maven-repo)
endif()
foreach(page ${HIDLAUDIO_PAGES})
  string(REGEX MATCH "[18][.]gz$" section ${page})
  string(SUBSTRING ${section} 0 1 section)
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()
# bash finds a completion by the name of the command, so each command has its own file.
foreach(command audioctl tv tv_stress)
  install(FILES tools/manual/completion.bash RENAME ${command}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()

include(cmake/DebianPackage.cmake)
