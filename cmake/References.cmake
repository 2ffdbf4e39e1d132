# SPDX-License-Identifier: Apache-2.0
# The reference documents, out of the comments of the public headers and of the Java classes. A
# parameter that no longer exists, or a name that leads nowhere, stops the build.
find_program(DOXYGEN doxygen REQUIRED)
file(STRINGS pindesk/public-headers.txt PUBLIC_HEADERS)
list(TRANSFORM PUBLIC_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/)
set(HEADERS ${PUBLIC_HEADERS})
list(JOIN PUBLIC_HEADERS "\" \"" PUBLIC_HEADERS)
configure_file(docs/Doxyfile.in Doxyfile @ONLY)
set(REFERENCE ${PROJECT_BINARY_DIR}/reference)
add_custom_command(OUTPUT ${REFERENCE}/cpp/index.html DEPENDS ${HEADERS} docs/Doxyfile.in VERBATIM
    COMMAND ${CMAKE_COMMAND} -E make_directory ${REFERENCE}/cpp
    COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile)
set(INDEXES ${REFERENCE}/cpp/index.html)

if(PINDESK_JAVA)
    find_package(Java REQUIRED COMPONENTS Development)
    file(GLOB_RECURSE JAVA_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/java/*.java)
    set(JAVADOC_JAR ${PROJECT_BINARY_DIR}/pindesk-javadoc.jar)
    add_custom_command(OUTPUT ${JAVADOC_JAR} DEPENDS ${JAVA_SOURCES} VERBATIM
        COMMAND ${CMAKE_COMMAND} -E rm -rf ${REFERENCE}/java
        COMMAND ${Java_JAVADOC_EXECUTABLE} -quiet -protected -Xdoclint:all -Werror -notimestamp -noindex
            -encoding UTF-8 --release 11 -d ${REFERENCE}/java
            ${JAVA_SOURCES}
        COMMAND ${Java_JAR_EXECUTABLE} --create --date=2000-01-01T00:00:00Z --file ${JAVADOC_JAR}
            -C ${REFERENCE}/java .)
    list(APPEND INDEXES ${JAVADOC_JAR})
endif()
add_custom_target(references ALL DEPENDS ${INDEXES})
