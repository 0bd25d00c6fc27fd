# SPDX-License-Identifier: Apache-2.0
# add_module(<name>)
#
# Adds a module of the daemon: a static library of the sources in the folder <name>. The module and the
# targets that link it include its headers as "<name>/<header>".
#
# service/ is not on the include path, because a module could then include any other module. Instead, each
# module has a folder in the build tree with a single symbolic link to the module, and only that folder is
# on the include path of its target. A module can therefore include only the modules in its
# target_link_libraries(). The TV's build has service/ on its include path and needs no links.
function(add_module name)
  set(include ${CMAKE_BINARY_DIR}/modules/${name})
  file(MAKE_DIRECTORY ${include})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${name} ${include}/${name} SYMBOLIC)
  file(GLOB sources CONFIGURE_DEPENDS ${name}/*.cpp)
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${include})
  target_link_libraries(${name} PRIVATE hidlaudio_warnings)
endfunction()
