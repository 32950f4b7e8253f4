/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_EXPORT_H
#define ZOL_EXPORT_H

/**
 * @file zol/export.h
 * Attributes of the public declarations.
 */

/** Marks what the shared library offers; everything else in it stays hidden. */
#define ZOL_API __attribute__((__visibility__("default")))

/** Keeps a member of an exported class inside the library. */
#define ZOL_LOCAL __attribute__((__visibility__("hidden")))

/** Lets the compiler check the arguments of a printf-like function: the positions of the format
 *  and of its first argument are counted from 1 (a member function counts its object as 1); the
 *  latter is 0 for a `va_list`. */
#define ZOL_PRINTF(text, first) __attribute__((__format__(__printf__, text, first)))

/** @{ */
/** Around declarations with C linkage. */
#ifdef __cplusplus
#define ZOL_BEGIN_DECLS extern "C" {
#define ZOL_END_DECLS }
#else
#define ZOL_BEGIN_DECLS
#define ZOL_END_DECLS
#endif
/** @} */

#endif
