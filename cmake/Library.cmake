# SPDX-License-Identifier: Apache-2.0
# libpindesk.so. Its objects are also what the unit tests link, over a scripted PC/SC.
file(GLOB_RECURSE PINDESK_SOURCES CONFIGURE_DEPENDS cardlib/*.cpp desk/*.cpp pindesk/*.cpp)
list(FILTER PINDESK_SOURCES EXCLUDE REGEX "/desk/(reasons|words)\\.cpp$") # with the catalogue
include(cmake/Catalogue.cmake)
if(NOT TARGET pindesk_jni)
    list(FILTER PINDESK_SOURCES EXCLUDE REGEX "_jni\\.cpp$")
endif()

add_library(pindesk_objects OBJECT ${PINDESK_SOURCES})
target_include_directories(pindesk_objects PUBLIC ${PROJECT_SOURCE_DIR})
target_include_directories(pindesk_objects SYSTEM PUBLIC ${PCSCLITE_INCLUDE_DIRS})
target_compile_definitions(pindesk_objects PRIVATE PINDESK_VERSION="${PROJECT_VERSION}")
target_compile_options(pindesk_objects PRIVATE -fvisibility=hidden -fvisibility-inlines-hidden)
target_link_libraries(pindesk_objects PRIVATE pindesk_warnings pindesk_hardening
    PUBLIC pindesk_words)
if(TARGET pindesk_jni)
    target_link_libraries(pindesk_objects PUBLIC pindesk_jni)
endif()

add_library(pindesk SHARED)
target_sources(pindesk PRIVATE $<TARGET_OBJECTS:pindesk_objects>)
add_library(pindesk::pindesk ALIAS pindesk)
target_include_directories(pindesk INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_include_directories(pindesk SYSTEM INTERFACE $<BUILD_INTERFACE:${PCSCLITE_INCLUDE_DIRS}>)
target_link_libraries(pindesk PRIVATE pindesk_hardening pindesk_words PkgConfig::PCSCLITE)
# Bsymbolic-functions: calls of its own stay inside, whatever a host calls its functions.
target_link_options(pindesk PRIVATE -Wl,-Bsymbolic-functions
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/pindesk/libpindesk.map)
set_target_properties(pindesk PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/pindesk/libpindesk.map)
