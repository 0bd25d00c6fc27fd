# SPDX-License-Identifier: Apache-2.0
# add_module(<name>)
#
# A module of the daemon: a static library of the folder's sources, whose headers are included
# as "<name>/<header>", by the module itself and by whatever links it. service/ is not on its
# include path, where every module would see every other: each module gets a folder in the build
# tree that holds one link, to the module, and only that folder comes along with the target. So
# the target_link_libraries of a module list what it may include, and a wrong include does not
# compile. The TV's build puts service/ on the include path and needs no link.
function(add_module name)
  set(include ${CMAKE_BINARY_DIR}/modules/${name})
  file(MAKE_DIRECTORY ${include})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include}/${name} SYMBOLIC)
  file(GLOB sources CONFIGURE_DEPENDS *.cpp)
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${include})
  target_link_libraries(${name} PRIVATE hidlaudio_warnings)
endfunction()
