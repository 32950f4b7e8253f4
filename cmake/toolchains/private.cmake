# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Included by the toolchain files beside it.

# use_private_toolchain(NAME TRIPLET): takes the compilers that "./dev toolchain NAME" has made.
function(use_private_toolchain name triplet)
    if(DEFINED ENV{ZOL_TOOLCHAINS})
        set(folder $ENV{ZOL_TOOLCHAINS}/${name})
    else()
        get_filename_component(folder ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../../build/toolchains/${name} ABSOLUTE)
    endif()
    if(NOT EXISTS ${folder}/complete)
        message(FATAL_ERROR "There is no toolchain in ${folder}. \"./dev toolchain ${name}\" makes "
                            "it; one that lies elsewhere is found by the environment variable "
                            "ZOL_TOOLCHAINS, the folder that has ${name} in it.")
    endif()
    set(zol_toolchain ${folder} PARENT_SCOPE)
    set(CMAKE_C_COMPILER ${folder}/bin/${triplet}-gcc PARENT_SCOPE)
    set(CMAKE_CXX_COMPILER ${folder}/bin/${triplet}-g++ PARENT_SCOPE)
    set(CMAKE_FIND_ROOT_PATH ${folder}/root PARENT_SCOPE)
endfunction()

set(CMAKE_SYSTEM_NAME Linux)
# A package that is built with such a compiler lies outside of its root, and is found all the same.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
