/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_VERSION_H
#define ZOL_VERSION_H

/**
 * @file zol/version.h
 * The version of the library. The build, the packages and the shared objects take theirs from
 * these three lines.
 */

/** @{ */
/** Its parts: major.minor.patch. */
#define ZOL_VERSION_MAJOR 1
#define ZOL_VERSION_MINOR 0
#define ZOL_VERSION_PATCH 0
/** @} */

/** One number that grows with every release: 0x00MMmmpp. */
#define ZOL_VERSION ((ZOL_VERSION_MAJOR << 16) | (ZOL_VERSION_MINOR << 8) | ZOL_VERSION_PATCH)

#endif
