# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Debian packages, by CPack: libzol1 (what programs need at run time), libzol-dev and zol-tools.
# "./dev package" makes them: in a build folder that was configured for /usr, with
# ZOL_DEBIAN_PACKAGES, cpack does.

set(debian ${CMAKE_CURRENT_LIST_DIR})
set(libzol_package libzol${PROJECT_VERSION_MAJOR})

# What every package has to have: who may copy it, what has changed, and which complaints of
# lintian are none.
set(changelog ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog)
configure_file(${debian}/changelog.in ${changelog} @ONLY)
execute_process(COMMAND gzip -9nkf ${changelog})
foreach(pair IN ITEMS runtime:${libzol_package} dev:libzol-dev tools:zol-tools)
    string(REGEX REPLACE ":.*" "" component ${pair})
    string(REGEX REPLACE ".*:" "" package ${pair})
    install(
        FILES ${debian}/copyright ${changelog}.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
        COMPONENT ${component}
    )
    install(
        FILES ${debian}/${component}.lintian-overrides
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
        RENAME ${package}
        COMPONENT ${component}
    )
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${debian}/compress.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE
)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_CONTACT "the libzol authors <libzol@example.invalid>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^i.86$")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${libzol_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "middleware for the daemons of small Linux devices
Strings, tables and lists, an event loop with timers, a calendar scheduler,
message catalogs, stream servers and clients, plug-ins and supervised child
processes, for programs in C and in C++.

This package has what programs that use it need at run time: libzol, and its
services libevlp and libxexec."
)

# By these dpkg-shlibdeps finds which package a program needs, and the loader's cache is made anew.
function(write_control_files component package)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/debian/${component})
    file(WRITE ${folder}/triggers "activate-noawait ldconfig\n")
    set(lines "")
    foreach(library IN LISTS ARGN)
        string(APPEND lines "lib${library} ${PROJECT_VERSION_MAJOR} ${package}")
        string(APPEND lines " (>= ${PROJECT_VERSION})\n")
    endforeach()
    file(WRITE ${folder}/shlibs "${lines}")
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA ${folder}/shlibs ${folder}/triggers
        PARENT_SCOPE
    )
endfunction()
write_control_files(runtime ${libzol_package} ${installed_targets})
write_control_files(dev libzol-dev evlp_sim)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libzol-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${libzol_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_PACKAGE_RECOMMENDS "zol-tools (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "middleware for the daemons of small Linux devices (development files)
Strings, tables and lists, an event loop with timers, a calendar scheduler,
message catalogs, stream servers and clients, plug-ins and supervised child
processes, for programs in C and in C++.

This package has what is needed to build programs that use libzol: headers,
manual pages, files for CMake and pkg-config, a pretty-printer for gdb; and
the event loop on a virtual clock, for tests, with the command evlp-sim."
)

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zol-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${libzol_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
    "catalog compiler of libzol
zolcat makes the message catalogs that programs with libzol read, from X/Open
message sources; it checks and compares catalogs of several languages, prints
them, and makes headers with the ids of their messages."
)
include(CPack)
