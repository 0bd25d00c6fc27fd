# SPDX-License-Identifier: Apache-2.0
# hidl_package(<target> PACKAGE <name> ROOT <dir> [LIBRARIES <target...>] [NO_INSTRUMENTATION])
#
# Adds a static library with the headers, proxies and stubs of all versions of a HIDL package, and a target
# <target>_sources that generates them with hidl-gen. The target `hidl_sources` generates those of all packages.
#
# ROOT        package root: each file <version>/I*.hal below it is an interface, <version>/types.hal
#             contains types. It may import android.hidl.base and its own package
# LIBRARIES   the libraries that the generated code needs (default: hidlbase)
# NO_INSTRUMENTATION
#             compile the code as for a user build of the platform, without the calls of HidlInstrumentor
#
# get_hidl_packages(<target...>)
#
# Sets variables of the caller to those of all the packages: `fqnames` (package@version), `roots` (arguments of
# hidl-gen), `hal` (the files on which the generated code depends).
find_program(HIDL_GEN hidl-gen REQUIRED)
set(HIDL_GEN_DIR ${CMAKE_BINARY_DIR}/gen)
set(HIDL_BASE_DIR ${CMAKE_SOURCE_DIR}/host/interfaces/hidl)
set(HIDL_GEN_ROOTS -p ${CMAKE_SOURCE_DIR} -r android.hidl:host/interfaces/hidl)

# The generated readers of vectors of interfaces allocate memory for the number of elements that the peer
# claims. Replace their readUint64() by readCount(), which rejects numbers that the parcel cannot contain.
# The expressions are for sed, with -E and -z.
set(HIDL_READ_COUNTS
  [[s/readUint64(\(&(\w+)\).\s*if \(_hidl_err != ::android::OK\) \{[^}]*\}\s*\S+\.resize\(\2\))/readCount\1/g]])
# Proxies of this hidl-gen return an error for a call without a result callback. Those of the platform
# call the empty function, which aborts the client: remove the check.
set(HIDL_NULL_CALLBACKS [[s/\s*if \(_hidl_cb == nullptr\) \{[^}]*EX_ILLEGAL_ARGUMENT[^}]*\}//g]])
# Each source has static functions of the same two names: append the name of the interface, so that the
# sources can be compiled as one.
set(HIDL_STATIC_NAMES [[:next;s/(LOG_TAG "[^"]*::(\w+)".*static_(con|de)structor)\(/\1_\2(/;tnext]])

add_custom_target(hidl_sources)

function(hidl_package target)
  cmake_parse_arguments(ARG "NO_INSTRUMENTATION" "PACKAGE;ROOT" "LIBRARIES" ${ARGN})
  string(REPLACE "." "/" package_path ${ARG_PACKAGE})
  set(roots)
  if(NOT ARG_PACKAGE MATCHES "^android[.]hidl[.]")
    file(RELATIVE_PATH root ${CMAKE_SOURCE_DIR} ${ARG_ROOT})
    set(roots -r ${ARG_PACKAGE}:${root})
  endif()
  # The generated code holds the hash of IBase, and hidl-gen checks the frozen hashes in current.txt.
  file(GLOB all_hal CONFIGURE_DEPENDS ${HIDL_BASE_DIR}/current.txt ${HIDL_BASE_DIR}/base/1.0/*.hal
    ${ARG_ROOT}/current.txt ${ARG_ROOT}/*/*.hal)
  file(GLOB versions RELATIVE ${ARG_ROOT} CONFIGURE_DEPENDS ${ARG_ROOT}/[0-9]*.[0-9]*)
  set(fqnames)
  set(sources)
  set(headers)
  foreach(version ${versions})
    file(GLOB hal ${ARG_ROOT}/${version}/*.hal)
    set(out ${HIDL_GEN_DIR}/${package_path}/${version})
    set(version_sources)
    set(version_headers)
    foreach(file ${hal})
      get_filename_component(name ${file} NAME_WE)
      if(name STREQUAL "types")
        list(APPEND version_sources ${out}/types.cpp)
        list(APPEND version_headers ${out}/types.h ${out}/hwtypes.h)
      else()
        string(SUBSTRING ${name} 1 -1 base)
        list(APPEND version_sources ${out}/${base}All.cpp)
        list(APPEND version_headers ${out}/${name}.h ${out}/IHw${base}.h ${out}/BnHw${base}.h ${out}/BpHw${base}.h
          ${out}/Bs${base}.h)
      endif()
    endforeach()
    set(fqname ${ARG_PACKAGE}@${version})
    add_custom_command(
      OUTPUT ${version_sources} ${version_headers}
      COMMAND ${HIDL_GEN} -o ${HIDL_GEN_DIR} -Lc++-headers ${HIDL_GEN_ROOTS} ${roots} ${fqname}
      COMMAND ${HIDL_GEN} -o ${HIDL_GEN_DIR} -Lc++-sources ${HIDL_GEN_ROOTS} ${roots} ${fqname}
      COMMAND sed -i -z -E -e "${HIDL_READ_COUNTS}" -e "${HIDL_NULL_CALLBACKS}" -e "${HIDL_STATIC_NAMES}"
        ${version_sources}
      DEPENDS ${all_hal}
      COMMENT "hidl-gen ${fqname}"
      VERBATIM)
    list(APPEND fqnames ${fqname})
    list(APPEND sources ${version_sources})
    list(APPEND headers ${version_headers})
  endforeach()
  if(NOT ARG_LIBRARIES)
    set(ARG_LIBRARIES hidlbase)
  endif()
  add_custom_target(${target}_sources DEPENDS ${sources} ${headers})
  add_dependencies(hidl_sources ${target}_sources)
  add_library(${target} STATIC ${sources} ${headers})
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 16
    HIDL_FQNAMES "${fqnames}" HIDL_ROOTS "${roots}" HIDL_HAL "${all_hal}")
  target_include_directories(${target} SYSTEM PUBLIC ${HIDL_GEN_DIR})
  target_link_libraries(${target} PUBLIC ${ARG_LIBRARIES})
  target_compile_options(${target} PRIVATE -w) # No warnings for generated code.
  # As in debuggable builds of the platform.
  if(NOT ARG_NO_INSTRUMENTATION)
    target_compile_definitions(${target} PRIVATE __ANDROID_DEBUGGABLE__)
  endif()
endfunction()

function(get_hidl_packages)
  foreach(variable fqnames roots hal)
    string(TOUPPER HIDL_${variable} property)
    set(all)
    foreach(package ${ARGN})
      get_target_property(values ${package} ${property})
      list(APPEND all ${values})
    endforeach()
    set(${variable} ${all} PARENT_SCOPE)
  endforeach()
endfunction()
