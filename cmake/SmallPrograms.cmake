# SPDX-License-Identifier: Apache-2.0
# Leaves out of the programs what they never call, which is most of hidl-gen's output, and packs their
# relocations: the daemon starts sooner and needs about 0.5 MiB less memory. Without effect on sanitizer
# builds, whose run-time checks refer to everything.
include(CheckLinkerFlag)
if(NOT HIDLAUDIO_SANITIZE)
  add_compile_options(-ffunction-sections -fdata-sections)
  add_link_options(-Wl,--gc-sections)
  check_linker_flag(CXX "-Wl,-z,pack-relative-relocs,--fatal-warnings" HIDLAUDIO_PACKS_RELOCATIONS)
  if(HIDLAUDIO_PACKS_RELOCATIONS)
    add_link_options(-Wl,-z,pack-relative-relocs)
  endif()
endif()
