# add_room(<name> <source...>)
#
# A room of the daemon: a static library whose headers are included as
# "<room>/<header>", by the room itself and by whatever links it. The tree's root is
# not on its include path, where every room would see every other and the virtual TV:
# each room gets a folder in the build tree that holds one link, to the room, and
# only that folder comes along with the target. So the target_link_libraries of a
# room say what it may include, and a wrong include does not compile. A build file
# for the TV puts the tree's root on the include path and needs no link.
function(add_room name)
  set(include ${CMAKE_BINARY_DIR}/rooms/${name})
  file(MAKE_DIRECTORY ${include})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include}/${name} SYMBOLIC)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC ${include})
  target_link_libraries(${name} PRIVATE hidlaudio_warnings)
endfunction()
