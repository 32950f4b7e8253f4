// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/sbuf.h"

#include <string.h>

#include "handle.h"

int xsbuf_get_refcount(xhandle* handle) {
    void* const data = core::dataOf(handle);
    return data == nullptr ? 0 : core::refCountOf(data);
}

int xsbuf_add_ref(xhandle* handle, unsigned n) {
    void* const data = core::dataOf(handle);
    if (data == nullptr) {
        return 0;
    }
    int32_t& count = core::refCountOf(data);
    count = static_cast<int32_t>(static_cast<uint32_t>(count) + n);
    return count;
}

int xsbuf_release(xhandle* handle, unsigned n) {
    return xsbuf_add_ref(handle, 0U - n);
}

void xsbuf_free(xhandle* handle) {
    // Deliberate: exactly 0, so a block that was never counted goes to -1 and stays. Pinned by
    // SbufFree.OfABlockThatWasNeverCountedOnlyClearsTheHandle.
    if (core::dataOf(handle) != nullptr && xsbuf_release(handle, 1) == 0) {
        xabuf_free(handle);
    }
    core::setData(handle, nullptr);
}

void xsbuf_attach(xhandle* handle, void* data) {
    // Deliberate: the old reference goes before the new one is taken. Pinned by
    // SbufAttach.GivesTheOldReferenceUpBeforeItTakesTheNewOne.
    xsbuf_free(handle);
    core::setData(handle, data);
    (void)xsbuf_add_ref(handle, 1);
}

xhandle* xsbuf_copy(xhandle* handle, xhandle* source) {
    xsbuf_attach(handle, core::dataOf(source));
    return handle;
}

int xsbuf_alloc(xhandle* handle, const xabuf_def_s* def, unsigned size) {
    xsbuf_free(handle);
    const unsigned bytes = size == UINT32_MAX ? def->elementSize : size;
    if (xabuf_alloc(handle, def, bytes) != 0) {
        return -1;
    }
    if (bytes != 0) {
        memset(core::dataOf(handle), 0, bytes);
    }
    return static_cast<int>(bytes);
}

int xsbuf_set_content(xhandle* handle, const xabuf_def_s* def, const void* source) {
    // The new block first: `source` may lie in the one that is given up.
    xhandle fresh = nullptr;
    const int size = xsbuf_alloc(&fresh, def, UINT32_MAX);
    if (size > 0) {
        (void)xsbuf_add_ref(&fresh, 1);
        if (source != nullptr) {
            memcpy(fresh, source, def->elementSize);
        }
    }
    xsbuf_free(handle);
    core::setData(handle, fresh);
    return size;
}

void xsbuf_detach(xhandle* handle) {
    void* const shared = core::dataOf(handle);
    if (shared == nullptr || core::refCountOf(shared) < 2) {
        return;
    }
    const xabuf_def_s* const def = core::defOf(shared);
    xhandle fresh = nullptr;
    if (xabuf_alloc(&fresh, def, def->elementSize) == 0 && fresh != nullptr) {
        core::refCountOf(fresh) = 1;
        memcpy(fresh, shared, def->elementSize);
    }
    xsbuf_free(handle);
    core::setData(handle, fresh);
}
