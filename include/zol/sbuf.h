/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_SBUF_H
#define ZOL_SBUF_H

/**
 * @file zol/sbuf.h
 * Shared buffers: typed blocks that several handles hold at once.
 *
 * The header of a shared buffer counts the handles that hold the block. Copying a handle costs
 * one increment; a release that brings the count to exactly 0 frees the block; who wants to write
 * calls xsbuf_detach() (or, for tables and strings, a function that does it) first.
 *
 * Unless a function says otherwise:
 *  - `handle` is the address of the caller's handle word, never null; the word may be null,
 *    which stands for no block: its count reads as 0 and nothing is changed;
 *  - counts are plain integers: a block and all handles to it belong to one thread at a time;
 *  - nothing is logged.
 */

#include "zol/alloc.h"

ZOL_BEGIN_DECLS

/** The end of the header of every shared buffer; a descriptor's headerSize has room for it. */
typedef struct xsbufh_s {
    int32_t refCount;       /**< handles that hold the block */
    const xabuf_def_s* def; /**< descriptor of the block */
} xsbufh_s;

/** @return how many handles hold the block */
ZOL_API int xsbuf_get_refcount(xhandle* handle);

/** Adds `n` to the count. @return the new count */
ZOL_API int xsbuf_add_ref(xhandle* handle, unsigned n);

/** Takes `n` from the count; never frees. @return the new count */
ZOL_API int xsbuf_release(xhandle* handle, unsigned n);

/**
 * Gives up this handle's reference and clears the handle; frees the block if the count comes to
 * exactly 0. A block whose count was 0 before is not freed: give a block that comes from
 * xsbuf_alloc() a count first.
 */
ZOL_API void xsbuf_free(xhandle* handle);

/**
 * Gives up what the handle holds, then takes a reference to another block.
 *
 * @param data  data of a shared buffer, or null. Not the block that the handle holds already:
 *              the old reference goes first, so the last one frees the block.
 */
ZOL_API void xsbuf_attach(xhandle* handle, void* data);

/** xsbuf_attach() with the block of `source`. Not for a handle and itself. @return `handle` */
ZOL_API xhandle* xsbuf_copy(xhandle* handle, xhandle* source);

/**
 * Gives up what the handle holds, then allocates a zeroed block with count 0.
 *
 * @param size  bytes of data; (unsigned)-1 stands for one element; 0 leaves the handle null
 * @return      the size; -1 with a null handle when there is no memory
 *
 * The caller raises the count with xsbuf_add_ref() before the block is shared or freed.
 */
ZOL_API int xsbuf_alloc(xhandle* handle, const xabuf_def_s* def, unsigned size);

/**
 * Gives up what the handle holds, then makes a block of one element with count 1.
 *
 * @param source  the element's bytes, also from the block that is given up; null for zeroes
 * @return        bytes of one element; -1 with a null handle when there is no memory
 */
ZOL_API int xsbuf_set_content(xhandle* handle, const xabuf_def_s* def, const void* source);

/**
 * Makes a block of one element private: where others hold it too, this handle gets a copy of
 * the element with count 1. When there is no memory the handle gives up its reference all the
 * same and is null.
 */
ZOL_API void xsbuf_detach(xhandle* handle);

ZOL_END_DECLS

#endif
