# cmake -DHIDL_GEN=<program> -DROOT=<package root> -DPACKAGE=<name>
#       -DHIDL_GEN_ROOTS=<list of -p and -r arguments> -P CheckFrozenInterfaces.cmake
#
# Fails where current.txt and the .hal files below ROOT disagree. hidl-gen itself
# refuses an interface whose hash differs from its frozen one, but lets pass one
# that was never frozen or whose file is gone.
cmake_minimum_required(VERSION 3.25)

file(STRINGS ${ROOT}/current.txt frozen REGEX "^[0-9a-f]")
file(GLOB versions RELATIVE ${ROOT} ${ROOT}/[0-9]*.[0-9]*)

set(actual)
foreach(version ${versions})
  execute_process(
    COMMAND ${HIDL_GEN} -Lhash ${HIDL_GEN_ROOTS} ${PACKAGE}@${version}
    OUTPUT_VARIABLE hashes
    ERROR_VARIABLE errors
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "hidl-gen cannot read ${PACKAGE}@${version}:\n${errors}")
  endif()
  string(REGEX MATCHALL "[0-9a-f]+ [^\n]+" hashes "${hashes}")
  list(APPEND actual ${hashes})
endforeach()
if(NOT actual)
  message(FATAL_ERROR "No interfaces below ${ROOT}")
endif()

set(problems)
foreach(line ${actual})
  string(REGEX REPLACE "^[^ ]+ " "" name ${line})
  if(line IN_LIST frozen)
    continue()
  endif()
  set(same_name ${frozen})
  list(FILTER same_name INCLUDE REGEX " ${name}$")
  if(same_name)
    string(APPEND problems "  ${name} is frozen, but its file has changed: undo that, or add a version\n")
  else()
    string(APPEND problems "  ${name} is not frozen: add this line to current.txt\n    ${line}\n")
  endif()
endforeach()
foreach(line ${frozen})
  string(REGEX REPLACE "^[^ ]+ " "" name ${line})
  if(NOT "${actual}" MATCHES " ${name}(;|$)")
    string(APPEND problems "  ${name} is in current.txt, but has no file\n")
  endif()
endforeach()
if(problems)
  message(FATAL_ERROR "Interfaces of ${PACKAGE} and current.txt disagree:\n${problems}")
endif()
