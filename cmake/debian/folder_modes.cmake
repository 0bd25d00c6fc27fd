# SPDX-License-Identifier: Apache-2.0
# cpack runs this between installing and packing. Sets the mode of each folder to that of Debian's policy,
# because cpack creates folders with the umask of its caller.
file(GLOB_RECURSE paths LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/*)
foreach(path ${paths})
  if(IS_DIRECTORY ${path})
    file(CHMOD ${path} DIRECTORY_PERMISSIONS
      OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
endforeach()
