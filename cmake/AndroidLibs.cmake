# SPDX-License-Identifier: Apache-2.0
# Debian's builds of the platform's base libraries: sp<> and RefBase, native handles, the Android log.
# They are in a folder that ld.so does not search, hence the rpath.
#
# The rpath is the same in the build and the installed tree. If CMake had to replace it at the installation, it
# would pad that of the build with empty entries, and for those ld.so searches the current folder, in which
# another user may have put a library.
set(HIDLAUDIO_ANDROID_INCLUDE /usr/include/android)
set(HIDLAUDIO_ANDROID_LIBDIR /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib;$ORIGIN;${HIDLAUDIO_ANDROID_LIBDIR}")

foreach(lib log cutils utils base)
  find_library(HIDLAUDIO_LIB_${lib} ${lib} PATHS ${HIDLAUDIO_ANDROID_LIBDIR} NO_DEFAULT_PATH REQUIRED)
  add_library(android_${lib} INTERFACE)
  target_include_directories(android_${lib} SYSTEM INTERFACE ${HIDLAUDIO_ANDROID_INCLUDE})
  target_link_libraries(android_${lib} INTERFACE ${HIDLAUDIO_LIB_${lib}})
endforeach()
# libutils and libcutils depend on libbacktrace, which is in the same folder.
target_link_options(android_utils INTERFACE -Wl,-rpath-link,${HIDLAUDIO_ANDROID_LIBDIR})
target_link_options(android_cutils INTERFACE -Wl,-rpath-link,${HIDLAUDIO_ANDROID_LIBDIR})
# Debian's libbacktrace uses functions of p7zip's library, which can be installed for one architecture
# only.
if(CMAKE_CROSSCOMPILING)
  target_link_options(android_utils INTERFACE -Wl,--allow-shlib-undefined)
  target_link_options(android_cutils INTERFACE -Wl,--allow-shlib-undefined)
endif()
