# SPDX-License-Identifier: Apache-2.0
# hidl_recorder(<target> <package...>)
#
# Adds a recorder of targets of hidl_package() (recorder/): a shared library, and for each version a library
# that an instrumented process loads. These are in the folder of the target property INSTRUMENTATION. Only the
# headers of the packages are used: a process must not get a second copy of their code.
function(hidl_recorder target)
  get_hidl_packages(${ARGN})
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${target})
  set(folder ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${target})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/recorder/*.cpp)
  file(MAKE_DIRECTORY ${out})
  generate_from_description(recorder ${out} ${out}/decoders.cpp ${out}/entry_points.cpp)
  add_custom_target(${target}_sources DEPENDS ${out}/decoders.cpp ${out}/entry_points.cpp)
  set_source_files_properties(${out}/decoders.cpp PROPERTIES COMPILE_OPTIONS "-w")

  add_library(${target} SHARED ${sources} ${out}/decoders.cpp)
  set_target_properties(${target} PROPERTIES INSTRUMENTATION ${folder} CXX_VISIBILITY_PRESET hidden)
  target_include_directories(${target} PUBLIC ${CMAKE_SOURCE_DIR}/recorder)
  target_link_libraries(${target} PUBLIC hidlbase PRIVATE hidlaudio_warnings)
  add_dependencies(${target} ${target}_sources ${ARGN})

  set(libraries)
  foreach(fqname ${fqnames})
    string(REPLACE "@" "_" library ${target}_${fqname})
    add_library(${library} MODULE ${out}/entry_points.cpp)
    set_target_properties(${library} PROPERTIES PREFIX "" OUTPUT_NAME ${fqname}-recorder SUFFIX .profiler.so
      LIBRARY_OUTPUT_DIRECTORY ${folder} INSTALL_RPATH "$ORIGIN/..;${HIDLAUDIO_ANDROID_LIBDIR}")
    target_link_libraries(${library} PRIVATE ${target} hidlaudio_warnings)
    add_dependencies(${library} ${target}_sources)
    list(APPEND libraries ${library})
  endforeach()
  add_custom_target(${target}_libraries DEPENDS ${libraries})
  set_target_properties(${target} PROPERTIES LIBRARIES "${libraries}")
endfunction()
