# SPDX-License-Identifier: Apache-2.0
# Uses ccache if it is installed and no other launcher is given. The settings let it cache compilations
# with precompiled headers, and share its cache between checkouts in different folders.
find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
    CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE})
  # Debug information names the sources by their path in the checkout, since the folder can be that of another one.
  add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-fpch-preprocess)
  endif()
endif()
