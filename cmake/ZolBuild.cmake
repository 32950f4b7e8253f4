# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# How every target of this tree is compiled.

include_guard()

include(CheckSymbolExists)
check_symbol_exists(__UCLIBC__ features.h ZOL_UCLIBC)

# Public headers hold timeval, timespec and tm: 32-bit builds, ours and the users', need 64-bit
# time. Carried as usage requirements of the targets and by the pkg-config file.
set(ZOL_TIME64_DEFINITIONS "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(ZOL_TIME64_DEFINITIONS _TIME_BITS=64 _FILE_OFFSET_BITS=64)
endif()

# Warnings and sanitizers; for everything that we compile, tests and examples included.
add_library(zol_build_flags INTERFACE)
target_compile_features(zol_build_flags INTERFACE cxx_std_17 c_std_99)
target_compile_definitions(zol_build_flags INTERFACE ${ZOL_TIME64_DEFINITIONS} _GNU_SOURCE)
target_compile_options(
    zol_build_flags
    INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wundef
              -Wmissing-declarations -fstrict-aliasing
)
if(ZOL_WERROR)
    target_compile_options(zol_build_flags INTERFACE -Werror)
endif()
if(ZOL_SANITIZE)
    target_compile_options(
        zol_build_flags INTERFACE -fsanitize=${ZOL_SANITIZE} -fno-sanitize-recover=all
                                  -fno-omit-frame-pointer
    )
    target_link_options(zol_build_flags INTERFACE -fsanitize=${ZOL_SANITIZE})
endif()
if(ZOL_UCLIBC)  # whose loader knows $ORIGIN, by which what is installed finds the rest, here only
    target_link_options(zol_build_flags INTERFACE LINKER:--disable-new-dtags)
endif()

# zol_shared_library(NAME MAP SOURCES...): one of our shared objects. Its dynamic symbol table
# holds what MAP lists and nothing else.
function(zol_shared_library name map)
    add_library(${name} SHARED ${ARGN})
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:zol_build_flags>)
    target_compile_definitions(${name} PUBLIC ${ZOL_TIME64_DEFINITIONS})
    set_target_properties(
        ${name}
        PROPERTIES VERSION ${PROJECT_VERSION}
                   SOVERSION ${PROJECT_VERSION_MAJOR}
                   CXX_VISIBILITY_PRESET hidden
                   VISIBILITY_INLINES_HIDDEN ON
                   LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${map}
    )
    # No exceptions inside, but those of an application's callback may pass through: hence the
    # unwind tables. Unique symbols would keep plug-ins from ever being unloaded.
    target_compile_options(
        ${name} PRIVATE -fno-exceptions -funwind-tables -fno-semantic-interposition
                        $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>
    )
    target_link_options(
        ${name} PRIVATE LINKER:--version-script=${CMAKE_CURRENT_SOURCE_DIR}/${map}
        LINKER:-Bsymbolic-functions LINKER:-z,relro,-z,now
    )
    if(NOT ZOL_SANITIZE)
        target_link_options(${name} PRIVATE LINKER:--no-undefined)
    endif()
    if(ZOL_PRIVATE_RUNTIME)
        target_link_options(
            ${name} PRIVATE -static-libgcc LINKER:--exclude-libs,ALL LINKER:--gc-sections
        )
        if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
            target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/platform/runtime/arm_unwind.c)
        endif()
    endif()
    # Small: no padding between code and constants, one table of names rather than two, and no table
    # of jumps to other libraries, which on 32-bit x86 takes more room than calls through the
    # addresses themselves.
    target_link_options(${name} PRIVATE $<$<CONFIG:MinSizeRel>:LINKER:-z,noseparate-code>)
    if(NOT ZOL_UCLIBC)  # whose loader may be configured not to know it
        target_link_options(${name} PRIVATE $<$<CONFIG:MinSizeRel>:LINKER:--hash-style=gnu>)
    endif()
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^i.86$")
        target_compile_options(${name} PRIVATE $<$<CONFIG:MinSizeRel>:-fno-plt>)
    endif()
endfunction()

# zol_runs_no_callbacks(SOURCES...): names sources from which no callback of the application can be
# reached, a stream's included, so that no exception ever passes their functions. In small builds
# they go without the tables for unwinding.
function(zol_runs_no_callbacks)
    set_property(
        SOURCE ${ARGN}
        APPEND
        PROPERTY
            COMPILE_OPTIONS
            $<$<CONFIG:MinSizeRel>:-fno-asynchronous-unwind-tables;-fno-unwind-tables>
    )
endfunction()
