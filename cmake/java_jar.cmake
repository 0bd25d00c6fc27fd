# SPDX-License-Identifier: Apache-2.0
# Compiles the Java sources below ROOTS and creates OUT/NAME.jar and OUT/NAME-sources.jar. The same sources
# result in the same bytes.
#   cmake -DJAVAC= -DJAR= -DNAME= -DROOTS= -DCLASSPATH= -DOUT= -DVERSION= -DDATE= -P java_jar.cmake
set(work ${OUT}/.${NAME})
set(classes ${work}/classes)
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${classes})

# Writes the relative paths of all files below a folder, for jar, and appends to `list_file`.
function(list_files folder list_file)
  file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${folder} ${folder}/*)
  list(SORT files)
  foreach(file ${files})
    string(REPLACE "\\" "\\\\" file ${file})
    file(APPEND ${list_file} "-C \"${folder}\" \"${file}\"\n")
  endforeach()
endfunction()

function(create_jar jar list_file)
  execute_process(COMMAND ${JAR} --create --file ${jar} --date=${DATE}T00:00:00Z --manifest ${work}/manifest @${list_file}
    COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(root ${ROOTS})
  file(GLOB_RECURSE sources ${root}/*.java)
  foreach(source ${sources})
    file(APPEND ${work}/sources "\"${source}\"\n")
  endforeach()
  list_files(${root} ${work}/source-files)
endforeach()
string(REPLACE ";" ":" CLASSPATH "${CLASSPATH}")
execute_process(
  COMMAND ${JAVAC} --release 17 -g -encoding UTF-8 -proc:none -Xlint:all,-serial,-try,-rawtypes,-unchecked,-cast,-classfile,-path
    -Werror -cp "${CLASSPATH}" -d ${classes} @${work}/sources
  COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "-" "." module ${NAME})
file(WRITE ${work}/manifest "Implementation-Title: ${NAME}\nImplementation-Version: ${VERSION}\nAutomatic-Module-Name: ${module}\n")
list_files(${classes} ${work}/class-files)
create_jar(${OUT}/${NAME}-sources.jar ${work}/source-files)
create_jar(${OUT}/${NAME}.jar ${work}/class-files)
