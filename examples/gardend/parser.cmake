# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Makes gardend_parser of config.l and config.y: what is linked with configuration.cc and
# configuration_builder.cc.
find_package(FLEX 2.6 REQUIRED)
find_package(BISON 3.6 REQUIRED)

bison_target(
    gardend_grammar ${CMAKE_CURRENT_LIST_DIR}/config.y ${CMAKE_CURRENT_BINARY_DIR}/config.tab.cc
    DEFINES_FILE ${CMAKE_CURRENT_BINARY_DIR}/config.tab.hh
)
flex_target(
    gardend_words ${CMAKE_CURRENT_LIST_DIR}/config.l ${CMAKE_CURRENT_BINARY_DIR}/config.lex.cc
)
add_flex_bison_dependency(gardend_words gardend_grammar)

add_library(
    gardend_parser OBJECT ${BISON_gardend_grammar_OUTPUTS} ${FLEX_gardend_words_OUTPUTS}
)
target_include_directories(
    gardend_parser PRIVATE ${CMAKE_CURRENT_LIST_DIR} ${CMAKE_CURRENT_BINARY_DIR}
)
target_link_libraries(gardend_parser PRIVATE zol::zol)
# The generated lexer has a function that its own macro makes superfluous.
set_source_files_properties(
    ${FLEX_gardend_words_OUTPUTS} PROPERTIES COMPILE_OPTIONS -Wno-unused-function
)
