# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts under a prefix, which may be moved afterwards: the programs look for
# the library beside themselves, and the files that describe the library find it from where they are.
include(CMakePackageConfigHelpers)
set(PACKAGING ${PROJECT_SOURCE_DIR}/packaging)
set(CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/pindesk)

# The library.
install(TARGETS pindesk EXPORT pindeskTargets)
file(STRINGS ${PROJECT_SOURCE_DIR}/pindesk/public-headers.txt PUBLIC_HEADERS)
foreach(header IN LISTS PUBLIC_HEADERS)
    cmake_path(GET header PARENT_PATH directory)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${directory})
endforeach()

file(RELATIVE_PATH PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PACKAGING}/pindesk.pc.in pindesk.pc @ONLY)
configure_package_config_file(${PACKAGING}/pindeskConfig.cmake.in pindeskConfig.cmake
    INSTALL_DESTINATION ${CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(pindeskConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/pindesk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES ${PROJECT_BINARY_DIR}/pindeskConfig.cmake
    ${PROJECT_BINARY_DIR}/pindeskConfigVersion.cmake DESTINATION ${CMAKE_DIR})
install(EXPORT pindeskTargets NAMESPACE pindesk:: DESTINATION ${CMAKE_DIR})

find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND)
    set(MAN3 ${PROJECT_BINARY_DIR}/man3)
    foreach(header desk.h PCSC_Misc.h PinDesk.h)
        add_custom_command(OUTPUT ${MAN3}/${header}.done VERBATIM
            DEPENDS pindesk/${header} ${PACKAGING}/man3
            COMMAND ${PACKAGING}/man3 ${PROJECT_SOURCE_DIR}/pindesk/${header} ${PROJECT_VERSION} ${MAN3}
            COMMAND ${CMAKE_COMMAND} -E touch ${MAN3}/${header}.done)
        list(APPEND MANUALS ${MAN3}/${header}.done)
    endforeach()
    add_custom_target(manuals ALL DEPENDS ${MANUALS})
    install(DIRECTORY ${MAN3} TYPE MAN FILES_MATCHING PATTERN *.3)
endif()
if(PINDESK_REFERENCES AND PINDESK_JAVA)
    install(DIRECTORY ${REFERENCE}/java/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/api)
endif()
install(DIRECTORY examples TYPE DOC)

# The Java class, where Java programs of a system look for it, and as Maven's repository has it. The
# link is what System.loadLibrary finds, without the files for C++.
if(PINDESK_JAVA)
    set(MAVEN ${CMAKE_INSTALL_DATADIR}/maven-repo/it/velmar/pindesk/${PROJECT_VERSION})
    configure_file(${PACKAGING}/pindesk.pom.in pindesk.pom @ONLY)
    set(JAVA ${CMAKE_INSTALL_DATADIR}/java)
    set(JAR pindesk-${PROJECT_VERSION}.jar)
    install(FILES ${PROJECT_BINARY_DIR}/pindesk.jar DESTINATION ${JAVA} RENAME ${JAR})
    file(CREATE_LINK ${JAR} ${PROJECT_BINARY_DIR}/java.jar SYMBOLIC)
    install(FILES ${PROJECT_BINARY_DIR}/java.jar DESTINATION ${JAVA} RENAME pindesk.jar)
    install(FILES ${PROJECT_BINARY_DIR}/pindesk.pom DESTINATION ${MAVEN}
        RENAME pindesk-${PROJECT_VERSION}.pom)
    file(CREATE_LINK ../../../../../java/${JAR} ${PROJECT_BINARY_DIR}/maven.jar SYMBOLIC)
    install(FILES ${PROJECT_BINARY_DIR}/maven.jar DESTINATION ${MAVEN} RENAME ${JAR})
    install(FILES ${PROJECT_BINARY_DIR}/pindesk-sources.jar DESTINATION ${MAVEN}
        RENAME pindesk-${PROJECT_VERSION}-sources.jar)
    if(PINDESK_REFERENCES)
        install(FILES ${PROJECT_BINARY_DIR}/pindesk-javadoc.jar DESTINATION ${MAVEN}
            RENAME pindesk-${PROJECT_VERSION}-javadoc.jar)
    endif()
    file(CREATE_LINK ../libpindesk.so.${PROJECT_VERSION_MAJOR} ${PROJECT_BINARY_DIR}/jni.so SYMBOLIC)
    install(FILES ${PROJECT_BINARY_DIR}/jni.so DESTINATION ${CMAKE_INSTALL_LIBDIR}/jni
        RENAME libpindesk.so)
endif()

# The tool and the virtual card.
if(PINDESK_TOOLS)
    file(RELATIVE_PATH BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(pindesk-tool PROPERTIES INSTALL_RPATH "$ORIGIN/${BIN_TO_LIB}")
    install(TARGETS pindesk-tool pindesk-vcard)
    install(FILES tools/virtualcard/inprocess/control.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/pindesk RENAME vcard_control.h)
    install(TARGETS vcard_inprocess LIBRARY NAMELINK_SKIP
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pindesk/inprocess)
    install(FILES docs/pindesk.1 docs/pindesk-vcard.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES docs/pindesk-outcomes.7 docs/pindesk-testing.7
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)
    install(FILES ${PACKAGING}/it.velmar.pindesk.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
    foreach(shell_file bash:bash-completion/completions/pindesk zsh:zsh/site-functions/_pindesk
            fish:fish/vendor_completions.d/pindesk.fish)
        string(REPLACE ":" ";" shell_file ${shell_file})
        list(POP_FRONT shell_file shell)
        set(file ${PROJECT_BINARY_DIR}/completions/${shell_file})
        cmake_path(GET file PARENT_PATH directory)
        file(MAKE_DIRECTORY ${directory})
        add_custom_command(OUTPUT ${file} DEPENDS pindesk-tool ${PACKAGING}/completions VERBATIM
            COMMAND ${PACKAGING}/completions $<TARGET_FILE:pindesk-tool> ${shell} > ${file})
        list(APPEND COMPLETIONS ${file})
        cmake_path(GET shell_file PARENT_PATH directory)
        install(FILES ${file} DESTINATION ${CMAKE_INSTALL_DATADIR}/${directory})
    endforeach()
    add_custom_target(completions ALL DEPENDS ${COMPLETIONS})
endif()

# The window.
if(PINDESK_TOOLS AND PINDESK_WINDOW)
    set(WINDOW_ID it.velmar.pindesk.window)
    set_target_properties(pindesk-window PROPERTIES INSTALL_RPATH "$ORIGIN/${BIN_TO_LIB}")
    install(TARGETS pindesk-window)
    install(FILES docs/pindesk-window.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    foreach(described metainfo.xml:metainfo desktop:applications
            svg:icons/hicolor/scalable/apps)
        string(REPLACE ":" ";" described ${described})
        list(POP_FRONT described end)
        install(FILES ${PACKAGING}/${WINDOW_ID}.${end}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/${described})
    endforeach()
endif()
