# SPDX-License-Identifier: Apache-2.0
# libpindesk.so. Its objects are also what the unit tests link, over a scripted PC/SC.
file(GLOB PINDESK_SOURCES CONFIGURE_DEPENDS cardlib/*.cpp pindesk/*.cpp)
if(PINDESK_FUZZ)
    list(FILTER PINDESK_SOURCES EXCLUDE REGEX "_jni\\.cpp$") # no card reaches it, no JDK needed
else()
    find_package(Java REQUIRED COMPONENTS Development)
    file(REAL_PATH ${Java_JAVAC_EXECUTABLE} JAVAC)
    cmake_path(SET JAVA_HOME NORMALIZE ${JAVAC}/../..) # the headers of the JDK that compiles
    find_package(JNI REQUIRED COMPONENTS JVM)
endif()

add_library(pindesk_objects OBJECT ${PINDESK_SOURCES})
target_include_directories(pindesk_objects PUBLIC ${PROJECT_SOURCE_DIR})
target_include_directories(pindesk_objects SYSTEM PUBLIC ${PCSCLITE_INCLUDE_DIRS})
target_compile_options(pindesk_objects PRIVATE -fvisibility=hidden -fvisibility-inlines-hidden)
target_compile_definitions(pindesk_objects PRIVATE PINDESK_BUILDING)
target_link_libraries(pindesk_objects PRIVATE pindesk_warnings pindesk_hardening)
if(NOT PINDESK_FUZZ)
    target_include_directories(pindesk_objects SYSTEM PUBLIC ${JNI_INCLUDE_DIRS})
    target_link_libraries(pindesk_objects PUBLIC pindesk_jni_header) # from the Java class
endif()

add_library(pindesk SHARED)
target_sources(pindesk PRIVATE $<TARGET_OBJECTS:pindesk_objects>)
target_include_directories(pindesk INTERFACE ${PROJECT_SOURCE_DIR})
target_include_directories(pindesk SYSTEM INTERFACE ${PCSCLITE_INCLUDE_DIRS})
target_link_libraries(pindesk PRIVATE pindesk_hardening PkgConfig::PCSCLITE)
target_link_options(pindesk PRIVATE
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/pindesk/libpindesk.map)
set_target_properties(pindesk PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/pindesk/libpindesk.map)
