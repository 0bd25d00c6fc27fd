# SPDX-License-Identifier: Apache-2.0
# Compiler settings that all targets of ours share: link to `hidlaudio_warnings`
# (PRIVATE). Generated code and Debian's headers are not held to them.
add_library(hidlaudio_warnings INTERFACE)
target_compile_options(hidlaudio_warnings INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # What a lock guards is said for clang (tools/thread_safety); android-base's macros say it
  # to every compiler.
  add_compile_options(-Wno-attributes)
endif()

if(HIDLAUDIO_SANITIZE)
  add_compile_options(-fsanitize=${HIDLAUDIO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${HIDLAUDIO_SANITIZE})
  # Debian's liblog and libutils are not instrumented; vptr checks of their
  # classes would need their type information.
  if(HIDLAUDIO_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=vptr)
  endif()
endif()
