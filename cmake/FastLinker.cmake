# SPDX-License-Identifier: MIT
# Two hundred programs and libraries are linked; mold takes a tenth of the time of the usual linker. It knows
# no Windows files.
include(CheckLinkerFlag)
if(NOT WIN32)
    check_linker_flag(CXX -fuse-ld=mold QUILLON_HAS_MOLD)
    if(QUILLON_HAS_MOLD)
        add_link_options(-fuse-ld=mold)
    endif()
endif()
