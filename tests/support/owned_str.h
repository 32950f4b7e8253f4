// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_OWNED_STR_H
#define TESTS_SUPPORT_OWNED_STR_H

#include "zol/str.h"
#include "zol/tab.h"

// A string that is freed at the end of its test, whatever state the test leaves it in: a block
// that holds nothing but its NUL, which the library never gives back, included.
struct OwnedStr {
    explicit OwnedStr(const char* text = "") {
        xstr_init(&h);
        xstr_set(&h, text, -1);
    }
    ~OwnedStr() {
        if (h != xstr_null) {
            xsbuf_free(table());
        }
    }
    OwnedStr(const OwnedStr&) = delete;
    OwnedStr& operator=(const OwnedStr&) = delete;

    operator xstr*() { return &h; }
    xtab* table() { return reinterpret_cast<xtab*>(&h); }

    int length() { return xstr_get_length(&h); }
    const xtabh_s* header() { return static_cast<xtabh_s*>(xabuf_get_header(table())); }
    int capacity() { return header()->capacity; }
    int holders() { return header()->refCount; }

    xstr h;
};

#endif
