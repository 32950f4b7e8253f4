# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# What english.cmake makes of dumped catalogs, whatever their texts look like.
# Usage: cmake -DSCRIPT=english.cmake -DFOLDER=FOLDER -P gardend_texts_test.cmake
cmake_minimum_required(VERSION 3.22...3.30)

set(head "CATALOG 'gardend' (id=1):\n  SET '' (id=0):\n  SET 'page' (id=1):\n")
file(MAKE_DIRECTORY ${FOLDER})

# Converts the dump of a catalog with these messages.
function(convert messages)
    file(WRITE ${FOLDER}/dump "${head}${messages}")
    file(REMOVE ${FOLDER}/list)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -P ${SCRIPT} ${FOLDER}/dump ${FOLDER}/list
        RESULT_VARIABLE result
        ERROR_VARIABLE complaint
    )
    set(result ${result} PARENT_SCOPE)
    set(complaint "${complaint}" PARENT_SCOPE)
endfunction()

function(expect_list messages expected)
    convert("${messages}")
    if(NOT result EQUAL 0)
        message(SEND_ERROR "refused: ${messages}${complaint}")
        return()
    endif()
    file(READ ${FOLDER}/list list)
    if(NOT list STREQUAL expected)
        message(SEND_ERROR "expected:\n${expected}\ngot:\n${list}")
    endif()
endfunction()

function(expect_refusal messages reason)
    convert("${messages}")
    if(result EQUAL 0 OR NOT complaint MATCHES "${reason}")
        message(SEND_ERROR "expected: ${reason}\nfor:\n${messages}got: ${complaint}")
    endif()
endfunction()

expect_list(
    "    __xmsg__(0x01010001): \"The garden\"\n    __xmsg__(0x0101000a): \"%1$s %%\"\n"
    "{0x01010001, R\"text(The garden)text\"},\n{0x0101000a, R\"text(%1$s %%)text\"},\n"
)
expect_list("" "")

# Texts that look like something else.
foreach(text "see   SET x" "CATALOG x" "a CATALOG b" "  SET 'x' (id=2):" "say \"no\"" "\"" "a;b[c"
             "\\n\\1" "__xmsg__(0x01010002): " "(text)" "a)text"
)
    expect_list(
        "    __xmsg__(0x01010001): \"${text}\"\n    __xmsg__(0x01010002): \"next\"\n"
        "{0x01010001, R\"text(${text})text\"},\n{0x01010002, R\"text(next)text\"},\n"
    )
endforeach()

# Texts that the list cannot hold.
expect_refusal("    __xmsg__(0x01010001): \"a)text\"b\"\n" "ends the string")
expect_refusal("    __xmsg__(0x01010001): \"two\nlines\"\n" "not a message of one line")
