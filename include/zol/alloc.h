/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_ALLOC_H
#define ZOL_ALLOC_H

/**
 * @file zol/alloc.h
 * Typed blocks: one heap block made of a hidden header and the data behind it.
 *
 * The caller holds a handle, one pointer word that points at the data; null means no block. The
 * last word of the header points at the block's descriptor, so that a handle alone tells how its
 * block is laid out:
 *
 *     block -> | header ... | descriptor * | data ...
 *                                          ^ handle
 *
 * Strings, tables and byte buffers are built on these blocks; programs rarely call the functions
 * of this header themselves. Unless a function says otherwise:
 *  - `handle` is the address of the caller's handle word, never null; the word may be null;
 *  - sizes are bytes of data, the header not counted;
 *  - a handle and its block belong to one thread at a time;
 *  - a failed allocation answers -1 and logs nothing.
 */

#include <stddef.h>
#include <stdint.h>

#include "zol/export.h"

ZOL_BEGIN_DECLS

/** A handle: points at the data of a block, or null. */
typedef void* xhandle;

/** Describes all blocks of one kind. Constant; must outlive every block made with it. */
typedef struct xabuf_def_s {
    uint32_t headerSize;  /**< bytes before the data, the descriptor pointer included */
    uint32_t elementSize; /**< bytes of one element, at least 1 */
    uint32_t growStep;    /**< granularity of growth, in elements; at least 1 for tables */
} xabuf_def_s;

/** @return the descriptor of the block; null for a null handle */
ZOL_API const xabuf_def_s* xabuf_get_def(xhandle* handle);

/** @return the start of the header; null for a null handle and for a block without descriptor */
ZOL_API void* xabuf_get_header(xhandle* handle);

/**
 * Frees what the handle holds, then allocates a block.
 *
 * @param size  bytes of data; 0 leaves the handle null
 * @return      0, or -1 with a null handle when there is no memory
 *
 * The header is zeroed but for the descriptor. The data is not cleared.
 */
ZOL_API int xabuf_alloc(xhandle* handle, const xabuf_def_s* def, unsigned size);

/**
 * Changes the size of the block, header and data kept; allocates when the handle is null.
 *
 * @param def   its header size is used, not that of the descriptor stored in the block
 * @param size  bytes of data; 0 frees the block
 * @return      0, or -1 with the block as it was when there is no memory
 */
ZOL_API int xabuf_realloc(xhandle* handle, const xabuf_def_s* def, unsigned size);

/** Frees the block, whoever else may refer to it, and clears the handle. */
ZOL_API void xabuf_free(xhandle* handle);

/**
 * Destroys an object of one of the library's classes through its virtual destructor, as `delete`
 * does. For C programs, which hold such objects as plain pointers.
 *
 * @param object  null is ignored. Its class must declare the virtual destructor before all its
 *                other virtual functions, as the library's classes do, and the pointer must be
 *                to the beginning of the object.
 */
ZOL_API void zol_obj_free(void* object);

/**
 * Reads an option from the environment.
 *
 * @return the value of the variable `name`, even if empty: the environment's own text, see
 *         getenv(3); `defaultValue` where it is not set
 */
ZOL_API const char* zol_getoption(const char* name, const char* defaultValue);

/**
 * Makes the library carry the allocation operators of the C++ runtime. It allocates one byte
 * with the array form of `new` and frees it with the plain form of `delete`; memory checkers
 * that tell the two apart report it.
 */
ZOL_API void zol_force(void);

ZOL_END_DECLS

#endif
