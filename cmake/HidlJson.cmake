# SPDX-License-Identifier: Apache-2.0
# hidl_json_package(<target> <package...>)
#
# Adds an object library with the JSON form of all types, methods and callbacks of targets of hidl_package()
# (host/hidl_json/interface.h), generated from hidl-gen's description of them. A program that links it finds
# them with findInterface(). The target property DESCRIPTION is a JSON file that describes them for other
# languages.

# generate_from_description(<form> <folder> <file...>)
#
# Generates the files in the folder from hidl-gen's description of the packages of the caller's get_hidl_packages().
# FORM is the first argument of host/hidl_json/generator/generate.py.
function(generate_from_description form out)
  file(GLOB generator CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/host/hidl_json/generator/*.py)
  add_custom_command(
    OUTPUT ${ARGN}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${out}/vts
    COMMAND ${HIDL_GEN} -o ${out}/vts -Lvts ${HIDL_GEN_ROOTS} ${roots} ${fqnames}
    COMMAND Python3::Interpreter -B ${CMAKE_SOURCE_DIR}/host/hidl_json/generator/generate.py
      ${form} ${out}/vts ${out} ${fqnames}
    DEPENDS ${hal} ${generator}
    COMMENT "Code for ${form} of ${fqnames}"
    VERBATIM)
endfunction()

function(hidl_json_package target)
  get_hidl_packages(${ARGN})
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${target})
  set(sources ${out}/types.cpp)
  foreach(fqname ${fqnames})
    list(APPEND sources ${out}/${fqname}.cpp)
  endforeach()
  generate_from_description(json ${out} ${sources} ${out}/types.h ${out}/interfaces.json)
  add_library(${target} OBJECT ${sources})
  target_link_libraries(${target} PRIVATE hidlaudio_quick_check PUBLIC hidl_json ${ARGN})
  target_precompile_headers(${target} REUSE_FROM hidl_json)
  set_target_properties(${target} PROPERTIES DESCRIPTION ${out}/interfaces.json UNITY_BUILD ON)
endfunction()
