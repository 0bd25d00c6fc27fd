# SPDX-License-Identifier: Apache-2.0
# hidl_json_package(<target> FQNAMES <package@version...> LIBRARIES <target...>
#                   [ROOTS <-r package:dir...>] [HAL_DEPENDS <file...>])
#
# Adds an object library with the JSON form of all types, methods and callbacks of the given interfaces
# (host/hidl_json/interface.h), generated from hidl-gen's description of them. A program that links it finds
# them with findInterface(). The target property DESCRIPTION is a
# JSON file that describes them for other languages.
#
# LIBRARIES   libraries with the generated C++ code of the packages
# ROOTS       further package roots for hidl-gen
# HAL_DEPENDS the .hal files
find_package(Python3 REQUIRED COMPONENTS Interpreter)

function(hidl_json_package target)
  cmake_parse_arguments(ARG "" "" "FQNAMES;LIBRARIES;ROOTS;HAL_DEPENDS" ${ARGN})
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${target})
  set(sources ${out}/types.cpp)
  foreach(fqname ${ARG_FQNAMES})
    list(APPEND sources ${out}/${fqname}.cpp)
  endforeach()
  hidl_generate(json ${out} ${sources} ${out}/types.h ${out}/interfaces.json)
  add_library(${target} OBJECT ${sources})
  target_link_libraries(${target} PRIVATE hidlaudio_quick_check PUBLIC hidl_json ${ARG_LIBRARIES})
  target_precompile_headers(${target} REUSE_FROM hidl_json)
  set_target_properties(${target} PROPERTIES DESCRIPTION ${out}/interfaces.json UNITY_BUILD ON)
endfunction()

# hidl_generate(<form> <folder> <file...>)
#
# Generates the files in the folder from hidl-gen's description of the packages ARG_FQNAMES of the calling
# function. FORM is the first argument of the generator.
function(hidl_generate form out)
  file(GLOB generator CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/host/hidl_json/generator/*.py)
  add_custom_command(
    OUTPUT ${ARGN}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${out}/vts
    COMMAND ${HIDL_GEN} -o ${out}/vts -Lvts ${HIDL_GEN_ROOTS} ${ARG_ROOTS} ${ARG_FQNAMES}
    COMMAND Python3::Interpreter -B ${CMAKE_SOURCE_DIR}/host/hidl_json/generator/generate.py
      ${form} ${out}/vts ${out} ${ARG_FQNAMES}
    DEPENDS ${ARG_HAL_DEPENDS} ${generator}
    COMMENT "Code for ${form} of ${ARG_FQNAMES}"
    VERBATIM)
endfunction()
