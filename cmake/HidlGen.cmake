# SPDX-License-Identifier: Apache-2.0
# hidl_package(<prefix> PACKAGE <name> VERSIONS <version...> ROOT <dir>
#              [ROOTS <-r package:dir...>] [HAL_DEPENDS <file...>] [NO_INSTRUMENTATION])
#
# Generates the C++ headers, proxies and stubs of a HIDL package with hidl-gen at build time. Sets
# <prefix>_SOURCES and <prefix>_HEADERS to the generated files; the include path of the headers is
# ${HIDL_GEN_DIR}.
#
# ROOT        package root: each file <version>/I*.hal below it is an interface, <version>/types.hal
#             contains types
# ROOTS       further package roots for hidl-gen
# HAL_DEPENDS the .hal files of other packages that this one imports
# NO_INSTRUMENTATION
#             compile the code as for a user build of the platform, without the calls of HidlInstrumentor
find_program(HIDL_GEN hidl-gen REQUIRED)
set(HIDL_GEN_DIR ${CMAKE_BINARY_DIR}/gen)
set(HIDL_GEN_ROOTS
  -p ${CMAKE_SOURCE_DIR}
  -r com.tovi.dtv.hardware.audio:interfaces
  -r android.hidl:host/interfaces/hidl
  -r android.hardware:host/interfaces/hardware
  CACHE INTERNAL "Package roots for hidl-gen")

# The generated readers of vectors of interfaces allocate memory for the number of elements that the peer
# claims. Replace their readUint64() by readCount(), which rejects numbers that the parcel cannot contain.
set(HIDL_READ_COUNTS
  [[s/readUint64(\(&(\w+)\).\s*if \(_hidl_err != ::android::OK\) \{[^}]*\}\s*\S+\.resize\(\2\))/readCount\1/g]]
  CACHE INTERNAL "For sed, with -E and -z")
# Proxies of this hidl-gen return an error for a call without a result callback. Those of the platform
# call the empty function, which aborts the client: remove the check.
set(HIDL_NULL_CALLBACKS
  [[s/\s*if \(_hidl_cb == nullptr\) \{[^}]*EX_ILLEGAL_ARGUMENT[^}]*\}//g]]
  CACHE INTERNAL "For sed, with -E and -z")

function(hidl_package target)
  cmake_parse_arguments(ARG "NO_INSTRUMENTATION" "PACKAGE;ROOT" "VERSIONS;ROOTS;HAL_DEPENDS" ${ARGN})
  string(REPLACE "." "/" package_path ${ARG_PACKAGE})
  set(roots ${HIDL_GEN_ROOTS} ${ARG_ROOTS})
  set(all_hal ${ARG_HAL_DEPENDS})
  if(EXISTS ${ARG_ROOT}/current.txt)
    list(APPEND all_hal ${ARG_ROOT}/current.txt) # hidl-gen checks the frozen hashes in it
  endif()
  foreach(version ${ARG_VERSIONS})
    file(GLOB hal CONFIGURE_DEPENDS ${ARG_ROOT}/${version}/*.hal)
    list(APPEND all_hal ${hal})
  endforeach()
  set(sources)
  set(headers)
  foreach(version ${ARG_VERSIONS})
    file(GLOB hal CONFIGURE_DEPENDS ${ARG_ROOT}/${version}/*.hal)
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
      COMMAND ${HIDL_GEN} -o ${HIDL_GEN_DIR} -Lc++-headers ${roots} ${fqname}
      COMMAND ${HIDL_GEN} -o ${HIDL_GEN_DIR} -Lc++-sources ${roots} ${fqname}
      COMMAND sed -i -z -E -e "${HIDL_READ_COUNTS}" -e "${HIDL_NULL_CALLBACKS}" ${version_sources}
      DEPENDS ${all_hal}
      COMMENT "hidl-gen ${fqname}"
      VERBATIM)
    list(APPEND sources ${version_sources})
    list(APPEND headers ${version_headers})
  endforeach()
  # No warnings for generated code.
  set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS "-w")
  # As in debuggable builds of the platform.
  if(NOT ARG_NO_INSTRUMENTATION)
    set_source_files_properties(${sources} PROPERTIES COMPILE_DEFINITIONS __ANDROID_DEBUGGABLE__)
  endif()
  set(${target}_SOURCES ${${target}_SOURCES} ${sources} PARENT_SCOPE)
  set(${target}_HEADERS ${${target}_HEADERS} ${headers} PARENT_SCOPE)
endfunction()
