# SPDX-License-Identifier: Apache-2.0
# Java libraries, in ${HIDLAUDIO_JAVA_DIR}. Only if a JDK is installed, and not for other machines or with
# sanitizers, whose runtime would have to be loaded into the virtual machine.
#
# java_jar(<name> ROOTS <dir...> [JARS <name...>] [CLASSPATH <jar...>] [DEPENDS <file...>])
#
# Adds target <name>: <name>.jar of the sources below ROOTS, and <name>-sources.jar. JARS are other libraries
# of java_jar(), CLASSPATH further ones. Each source is a dependency; DEPENDS names those that are generated.
#
# hidl_java_sources(<variable> FQNAMES <package@version...> [ROOTS <-r package:dir...>] [HAL_DEPENDS <file...>])
#
# Generates the Java code of interfaces. Sets <variable> to its folder and <variable>_STAMP to a file that is
# newer than the code.
set(HIDLAUDIO_JAVA_DIR ${CMAKE_BINARY_DIR}/java)
set(HIDLAUDIO_JAVA OFF)
if(NOT CMAKE_CROSSCOMPILING AND NOT HIDLAUDIO_SANITIZE)
  find_package(Java 17 QUIET COMPONENTS Development Runtime)
  if(Java_Development_FOUND)
    file(REAL_PATH ${Java_JAVAC_EXECUTABLE} javac)
    cmake_path(GET javac PARENT_PATH java_home)
    find_path(HIDLAUDIO_JNI_INCLUDE jni.h PATHS ${java_home}/../include NO_DEFAULT_PATH)
    if(HIDLAUDIO_JNI_INCLUDE)
      set(HIDLAUDIO_JAVA ON)
    endif()
  endif()
  if(NOT HIDLAUDIO_JAVA)
    message(STATUS "The Java libraries are left out: no JDK 17 or newer is installed")
  endif()
endif()

function(java_jar name)
  cmake_parse_arguments(ARG "" "" "ROOTS;JARS;CLASSPATH;DEPENDS" ${ARGN})
  set(sources)
  foreach(root ${ARG_ROOTS})
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${root}/*.java)
    list(APPEND sources ${found})
  endforeach()
  set(classpath ${ARG_CLASSPATH})
  foreach(jar ${ARG_JARS})
    list(APPEND classpath ${HIDLAUDIO_JAVA_DIR}/${jar}.jar)
  endforeach()
  set(jar ${HIDLAUDIO_JAVA_DIR}/${name}.jar)
  set(script ${CMAKE_SOURCE_DIR}/cmake/java_jar.cmake)
  add_custom_command(
    OUTPUT ${jar} ${HIDLAUDIO_JAVA_DIR}/${name}-sources.jar
    COMMAND ${CMAKE_COMMAND} -DJAVAC=${Java_JAVAC_EXECUTABLE} -DJAR=${Java_JAR_EXECUTABLE} -DNAME=${name}
      "-DROOTS=${ARG_ROOTS}" "-DCLASSPATH=${classpath}" -DOUT=${HIDLAUDIO_JAVA_DIR}
      -DVERSION=${PROJECT_VERSION} -DDATE=${HIDLAUDIO_DATE} -P ${script}
    DEPENDS ${sources} ${ARG_DEPENDS} ${classpath} ${script}
    COMMENT "${name}.jar"
    VERBATIM)
  add_custom_target(${name} ALL DEPENDS ${jar})
  if(ARG_JARS)
    add_dependencies(${name} ${ARG_JARS})
  endif()
endfunction()

function(hidl_java_sources variable)
  cmake_parse_arguments(ARG "" "" "FQNAMES;ROOTS;HAL_DEPENDS" ${ARGN})
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${variable})
  set(commands)
  foreach(fqname ${ARG_FQNAMES})
    list(APPEND commands COMMAND ${HIDL_GEN} -o ${out} -Ljava ${HIDL_GEN_ROOTS} ${ARG_ROOTS} ${fqname})
  endforeach()
  add_custom_command(
    OUTPUT ${out}.stamp
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${out}
    ${commands}
    COMMAND ${CMAKE_COMMAND} -E touch ${out}.stamp
    DEPENDS ${ARG_HAL_DEPENDS}
    COMMENT "hidl-gen -Ljava ${ARG_FQNAMES}"
    VERBATIM)
  set(${variable} ${out} PARENT_SCOPE)
  set(${variable}_STAMP ${out}.stamp PARENT_SCOPE)
endfunction()
