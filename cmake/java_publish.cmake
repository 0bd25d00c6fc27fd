# SPDX-License-Identifier: Apache-2.0
# Creates OUT/NAME-javadoc.jar, and below OUT/maven the folder of a Maven repository with OUT/NAME.jar, its
# sources, its documentation and a POM with DEPENDENCIES (group:artifact:version). java_jar.cmake has created
# OUT/NAME.jar, and the list of its sources.
#   cmake -DJAVADOC= -DJAR= -DNAME= -DDESCRIPTION= -DCLASSPATH= -DDEPENDENCIES= -DGROUP= -DOUT= -DVERSION=
#     -DDATE= -P java_publish.cmake
set(work ${OUT}/.${NAME}-publish)
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work})
string(REPLACE ";" ":" CLASSPATH "${CLASSPATH}")
# The comments of the .hal files are no HTML. The output is logged only if the command fails.
execute_process(
  COMMAND ${JAVADOC} -quiet -Xdoclint:none -encoding UTF-8 -notimestamp -windowtitle ${NAME} -doctitle "${DESCRIPTION}"
    -cp "${CLASSPATH}" -d ${work}/docs @${OUT}/.${NAME}/sources
  RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(failed)
  message(FATAL_ERROR "javadoc of ${NAME} failed:\n${output}")
endif()
file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${work}/docs ${work}/docs/*)
list(SORT files)
foreach(file ${files})
  file(APPEND ${work}/files "-C \"${work}/docs\" \"${file}\"\n")
endforeach()
execute_process(COMMAND ${JAR} --create --no-manifest --file ${OUT}/${NAME}-javadoc.jar --date=${DATE}T00:00:00Z @${work}/files
  COMMAND_ERROR_IS_FATAL ANY)

string(REPLACE "." "/" folder ${GROUP})
file(REMOVE_RECURSE ${OUT}/maven/${folder}/${NAME})
set(folder ${OUT}/maven/${folder}/${NAME}/${VERSION})
set(pom "<project xmlns=\"http://maven.apache.org/POM/4.0.0\">
  <modelVersion>4.0.0</modelVersion>
  <groupId>${GROUP}</groupId>
  <artifactId>${NAME}</artifactId>
  <version>${VERSION}</version>
  <name>${NAME}</name>
  <description>${DESCRIPTION}</description>
  <dependencies>\n")
foreach(dependency ${DEPENDENCIES})
  string(REPLACE ":" ";" parts ${dependency})
  list(GET parts 0 group)
  list(GET parts 1 artifact)
  list(GET parts 2 version)
  string(APPEND pom "    <dependency>
      <groupId>${group}</groupId>
      <artifactId>${artifact}</artifactId>
      <version>${version}</version>
    </dependency>\n")
endforeach()
string(APPEND pom "  </dependencies>\n</project>\n")
file(WRITE ${folder}/${NAME}-${VERSION}.pom "${pom}")
foreach(suffix "" -sources -javadoc)
  configure_file(${OUT}/${NAME}${suffix}.jar ${folder}/${NAME}-${VERSION}${suffix}.jar COPYONLY)
endforeach()
file(GLOB published ${folder}/*.jar ${folder}/*.pom)
foreach(file ${published})
  file(SHA1 ${file} sum)
  file(WRITE ${file}.sha1 ${sum})
endforeach()
