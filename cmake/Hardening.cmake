# SPDX-License-Identifier: Apache-2.0
# Link to pindesk_hardening to build a target as it is shipped, whatever the build type is called.
# Every function is bound when the program starts: the loader's resolver would save the registers on
# the stack at a function's first call, and with them what they hold of a PIN. The big-number
# functions, supplied by the host process or by nobody, are weak, so this asks nothing of them.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
check_pie_supported(LANGUAGES CXX)

add_library(pindesk_hardening INTERFACE)
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    return() # the sanitizers replace what these guard
endif()

set(CMAKE_TRY_COMPILE_CONFIGURATION ${CMAKE_BUILD_TYPE})
unset(PINDESK_OPTIMIZES CACHE) # the build type may have changed
check_cxx_source_compiles("#ifndef __OPTIMIZE__\n#error\n#endif\nint main() {}" PINDESK_OPTIMIZES)
if(PINDESK_OPTIMIZES) # without, the C library warns instead
    target_compile_options(pindesk_hardening INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "PINDESK_HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
        target_compile_options(pindesk_hardening INTERFACE ${flag})
    endif()
endforeach()
target_compile_options(pindesk_hardening INTERFACE
    -ffile-prefix-map=${PROJECT_BINARY_DIR}=build -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
target_link_options(pindesk_hardening INTERFACE
    -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
# The C library's start files carry no notes of control flow, so the linker leaves them out; returns
# are returns there too. Of indirect branches that cannot be said: no note for these.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
    target_link_options(pindesk_hardening INTERFACE -Wl,-z,shstk)
endif()
