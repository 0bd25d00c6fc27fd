# SPDX-License-Identifier: Apache-2.0
# Compiler warnings of this project's targets: link them to `hidlaudio_warnings` (PRIVATE). Generated
# code and Debian's headers are exempt.
add_library(hidlaudio_warnings INTERFACE)
target_compile_options(hidlaudio_warnings INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
if(CMAKE_UNITY_BUILD)
  target_compile_options(hidlaudio_warnings INTERFACE -Wno-shadow) # of the names of other files
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # android-base's thread-safety macros use attributes that only clang knows
  # (tools/checks/thread_safety).
  add_compile_options(-Wno-attributes)
endif()

if(HIDLAUDIO_SANITIZE)
  add_compile_options(-fsanitize=${HIDLAUDIO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${HIDLAUDIO_SANITIZE})
  # Debian's liblog and libutils are not instrumented, and vptr checks of their classes need their type
  # information.
  if(HIDLAUDIO_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=vptr)
  endif()
endif()

# For command-line programs and tests: little optimization, and none with sanitizers. They are fast enough
# without it, and it would take most of their compile time, because all of GoogleTest and nlohmann-json is in headers.
add_library(hidlaudio_quick_build INTERFACE)
# For libraries of the tools: no optimization with sanitizers, because of the headers of nlohmann-json.
add_library(hidlaudio_quick_check INTERFACE)
if(HIDLAUDIO_SANITIZE)
  target_compile_options(hidlaudio_quick_build INTERFACE -O0)
  target_compile_options(hidlaudio_quick_check INTERFACE -O0)
else()
  target_compile_options(hidlaudio_quick_build INTERFACE -O1)
endif()
