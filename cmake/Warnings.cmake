# SPDX-License-Identifier: Apache-2.0
# Link to pindesk_warnings to compile a target of ours with its warnings; the presets make them errors.
add_library(pindesk_warnings INTERFACE)
target_compile_options(pindesk_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wundef)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(pindesk_warnings INTERFACE -Wsuggest-override -Wlogical-op
        -Wduplicated-cond)
endif()
# GCC 12 at -O3 finds strings that overlap within its own std::string, which it does not at -O2.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13
        AND CMAKE_CXX_FLAGS_RELEASE MATCHES "-O3")
    target_compile_options(pindesk_warnings INTERFACE -Wno-restrict)
endif()
