# SPDX-License-Identifier: Apache-2.0
# The translations of po/ as a C++ source of the library. Run by itself (cmake -P) it writes that
# source from compiled catalogues: MO_FILES are read, OUTPUT is written.
if(CMAKE_SCRIPT_MODE_FILE)
    foreach(file IN LISTS MO_FILES)
        get_filename_component(language ${file} NAME_WE)
        file(READ ${file} bytes HEX)
        string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
        string(APPEND arrays "alignas(4) constexpr unsigned char MO_${language}[] = {${bytes}};\n")
        string(APPEND rows "    {\"${language}\", MO_${language}, sizeof MO_${language}},\n")
    endforeach()
    file(WRITE ${OUTPUT} "#include \"desk/catalogue.h\"\n\nnamespace desk {\n\nnamespace {\n${arrays}"
        "constexpr Catalogue ROWS[] = {\n${rows}};\n} // namespace\n\n"
        "const std::span<const Catalogue> CATALOGUES = ROWS;\n\n} // namespace desk\n")
    return()
endif()

find_program(MSGFMT msgfmt REQUIRED)
file(GLOB PO_FILES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/po/*.po)
foreach(po IN LISTS PO_FILES)
    file(STRINGS ${po} rule REGEX "Plural-Forms: nplurals=2; plural=\\(n != 1\\);")
    if(NOT rule)
        message(FATAL_ERROR "${po}: desk/words.cpp knows one plural rule, nplurals=2; plural=(n != 1);")
    endif()
    get_filename_component(language ${po} NAME_WE)
    set(mo ${CMAKE_CURRENT_BINARY_DIR}/${language}.mo)
    add_custom_command(OUTPUT ${mo} DEPENDS ${po} VERBATIM
        COMMAND ${MSGFMT} --check --endianness=little -o ${mo} ${po})
    list(APPEND MO_FILES ${mo})
endforeach()
set(PINDESK_CATALOGUE ${CMAKE_CURRENT_BINARY_DIR}/catalogue.cpp)
add_custom_command(OUTPUT ${PINDESK_CATALOGUE} DEPENDS ${MO_FILES} ${CMAKE_CURRENT_LIST_FILE} VERBATIM
    COMMAND ${CMAKE_COMMAND} "-DMO_FILES=${MO_FILES}" -DOUTPUT=${PINDESK_CATALOGUE}
        -P ${CMAKE_CURRENT_LIST_FILE})

# Linked into the library and into the tool, which has texts of its own.
add_library(pindesk_words STATIC desk/reasons.cpp desk/words.cpp ${PINDESK_CATALOGUE})
target_include_directories(pindesk_words PUBLIC ${PROJECT_SOURCE_DIR})
target_compile_options(pindesk_words PRIVATE -fvisibility=hidden -fvisibility-inlines-hidden)
target_link_libraries(pindesk_words PRIVATE pindesk_warnings pindesk_hardening)
