# SPDX-License-Identifier: Apache-2.0
# Hardening of the release build. Relocations are read-only after start, but functions stay bound
# lazily: the big-number functions are supplied by the host process, or by nobody.
add_library(pindesk_hardening INTERFACE)
if(CMAKE_BUILD_TYPE STREQUAL Release)
    target_compile_options(pindesk_hardening INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
        -fstack-protector-strong)
    target_link_options(pindesk_hardening INTERFACE -Wl,-z,relro -Wl,-z,lazy -Wl,-z,noexecstack)
endif()
