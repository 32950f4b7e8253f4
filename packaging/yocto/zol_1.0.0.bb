# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
SUMMARY = "Middleware for the daemons of small Linux devices"
DESCRIPTION = "Strings, tables and lists, an event loop with timers, a calendar scheduler, message \
catalogs, stream servers and clients, plug-ins and supervised child processes, for programs in C and \
in C++."
HOMEPAGE = "https://zol.example.invalid"
SECTION = "libs"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=a48397cf227d0fcb058ef4cb2a5fb3e9"

# A placeholder: no archive lies there. The sum is computed of the archive; zeroes until there is one.
SRC_URI = "https://zol.example.invalid/releases/${BP}.tar.gz"
SRC_URI[sha256sum] = "0000000000000000000000000000000000000000000000000000000000000000"

inherit cmake pkgconfig

EXTRA_OECMAKE = "-DZOL_BUILD_TESTS=OFF -DZOL_BUILD_EXAMPLES=OFF -DZOL_BUILD_TOOLS=ON"

# For images in which nothing else needs libstdc++.so and libgcc_s.so.
PACKAGECONFIG ??= ""
PACKAGECONFIG[private-runtime] = "-DZOL_PRIVATE_RUNTIME=ON,-DZOL_PRIVATE_RUNTIME=OFF"

# The catalog compiler, and the loop on a virtual clock, which is for tests, are no part of images
# that do not ask for them.
PACKAGES =+ "${PN}-tools ${PN}-sim"
FILES:${PN}-tools = "${bindir}/zolcat"
FILES:${PN}-sim = "${bindir}/evlp-sim ${libdir}/libevlp_sim.so.*"
FILES:${PN}-dev += "${datadir}/gdb/auto-load"

# zol-native has the zolcat with which recipes compile message catalogs.
BBCLASSEXTEND = "native nativesdk"
