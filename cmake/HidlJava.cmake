# SPDX-License-Identifier: Apache-2.0
# Java libraries, in ${HIDLAUDIO_JAVA_DIR}. Only if a JDK is installed, and not for other machines or with
# sanitizers, whose runtime would have to be loaded into the virtual machine.
#
# java_jar(<name> ROOTS <dir...> [JARS <name...>] [CLASSPATH <jar...>] [DEPENDS <file...>])
#
# Adds target <name>: <name>.jar of the sources below ROOTS, and <name>-sources.jar. JARS are other libraries
# of java_jar(), CLASSPATH further ones. Each source is a dependency; DEPENDS names those that are generated.
#
# java_publish(<name> DESCRIPTION <text> [DEPENDENCIES <group:artifact:version...>])
#
# Adds target <name>-publish: <name>-javadoc.jar, and the library in the folder `maven`, a Maven repository.
#
# hidl_java_sources(<variable> <package>)
#
# Generates the Java code of a target of hidl_package(). Sets <variable> to its folder and <variable>_STAMP to a
# file that is newer than the code.
#
# add_java_tests(<name> ROOT <dir> JARS <name...> [CLASSPATH <jar...>] [OPTIONS <option...>] [DEPENDS <target...>])
#
# Adds test java.<name>: all classes *Test below ROOT, which run in parallel. Warnings of the virtual machine
# about calls of JNI fail the test. SIGQUIT makes a virtual machine that hangs print the stacks of its threads.
set(HIDLAUDIO_JAVA_DIR ${CMAKE_BINARY_DIR}/java)
set(HIDLAUDIO_JAVA_GROUP com.tovi.hidlaudio)
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
  # Debian's JUnit 5, with its dependencies.
  set(HIDLAUDIO_JUNIT)
  foreach(jar junit-jupiter-api junit-jupiter-params junit-jupiter-engine junit-platform-commons
          junit-platform-engine junit-platform-launcher junit-platform-console junit-platform-reporting
          apiguardian-api opentest4j picocli univocity-parsers)
    list(APPEND HIDLAUDIO_JUNIT /usr/share/java/${jar}.jar)
  endforeach()
  if(NOT EXISTS /usr/share/java/junit-platform-console.jar)
    set(HIDLAUDIO_JUNIT)
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
  set_target_properties(${name} PROPERTIES JAVA_CLASSPATH "${classpath}")
endfunction()

function(java_publish name)
  cmake_parse_arguments(ARG "" "DESCRIPTION" "DEPENDENCIES" ${ARGN})
  get_target_property(classpath ${name} JAVA_CLASSPATH)
  set(jar ${HIDLAUDIO_JAVA_DIR}/${name}-javadoc.jar)
  set(script ${CMAKE_SOURCE_DIR}/cmake/java_publish.cmake)
  add_custom_command(
    OUTPUT ${jar}
    COMMAND ${CMAKE_COMMAND} -DJAVADOC=${Java_JAVADOC_EXECUTABLE} -DJAR=${Java_JAR_EXECUTABLE} -DNAME=${name}
      "-DDESCRIPTION=${ARG_DESCRIPTION}" "-DCLASSPATH=${classpath}" "-DDEPENDENCIES=${ARG_DEPENDENCIES}"
      -DGROUP=${HIDLAUDIO_JAVA_GROUP} -DOUT=${HIDLAUDIO_JAVA_DIR} -DVERSION=${PROJECT_VERSION}
      -DDATE=${HIDLAUDIO_DATE} -P ${script}
    DEPENDS ${HIDLAUDIO_JAVA_DIR}/${name}.jar ${script}
    COMMENT "${name}-javadoc.jar"
    VERBATIM)
  add_custom_target(${name}-publish ALL DEPENDS ${jar})
endfunction()

function(hidl_java_sources variable package)
  get_hidl_packages(${package})
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${variable})
  set(commands)
  foreach(fqname ${fqnames})
    list(APPEND commands COMMAND ${HIDL_GEN} -o ${out} -Ljava ${HIDL_GEN_ROOTS} ${roots} ${fqname})
  endforeach()
  add_custom_command(
    OUTPUT ${out}.stamp
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${out}
    ${commands}
    COMMAND ${CMAKE_COMMAND} -E touch ${out}.stamp
    DEPENDS ${hal}
    COMMENT "hidl-gen -Ljava ${fqnames}"
    VERBATIM)
  set(${variable} ${out} PARENT_SCOPE)
  set(${variable}_STAMP ${out}.stamp PARENT_SCOPE)
endfunction()

function(add_java_tests name)
  cmake_parse_arguments(ARG "" "ROOT" "JARS;CLASSPATH;OPTIONS;DEPENDS" ${ARGN})
  set(target java-${name}-tests)
  java_jar(${target} ROOTS ${ARG_ROOT} JARS ${ARG_JARS} CLASSPATH ${ARG_CLASSPATH} ${HIDLAUDIO_JUNIT})
  add_dependencies(${target} hidlaudio audio_hal tv hidl_java ${ARG_DEPENDS})
  set(tests ${HIDLAUDIO_JAVA_DIR}/${target}.jar)
  list(TRANSFORM ARG_JARS REPLACE "(.+)" "${HIDLAUDIO_JAVA_DIR}/\\1.jar")
  list(JOIN HIDLAUDIO_JUNIT : junit)
  list(APPEND ARG_JARS ${ARG_CLASSPATH})
  list(JOIN ARG_JARS : jars)
  add_test(NAME java.${name}
    COMMAND timeout --foreground --signal=QUIT --kill-after=20 200
      ${Java_JAVA_EXECUTABLE} -Xcheck:jni -Xmx512m -XX:-UsePerfData
      -Dhidlaudio.programs=${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${ARG_OPTIONS}
      -cp ${tests}:${jars}:${junit} org.junit.platform.console.ConsoleLauncher --fail-if-no-tests
      --disable-banner --disable-ansi-colors --details=tree --scan-classpath=${tests} --include-classname=.*Test
      --config=junit.jupiter.execution.parallel.enabled=true
      --config=junit.jupiter.execution.parallel.mode.classes.default=concurrent
      --config=junit.jupiter.execution.parallel.config.strategy=fixed
      --config=junit.jupiter.execution.parallel.config.fixed.parallelism=2)
  set_tests_properties(java.${name} PROPERTIES LABELS daemon TIMEOUT 300
    ENVIRONMENT "PYTHONPATH=${CMAKE_SOURCE_DIR}/host/python;HIDLAUDIO_PROGRAMS=${CMAKE_RUNTIME_OUTPUT_DIRECTORY}"
    FAIL_REGULAR_EXPRESSION "WARNING in native method;WARNING: JNI;FATAL ERROR in native")
endfunction()
