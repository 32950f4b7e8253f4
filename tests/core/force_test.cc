// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// zol_force() pairs the array form of new with the plain form of delete on purpose. A memory
// checker is right to complain, so this program, and it alone, tells the address sanitizer not to.

#include <gtest/gtest.h>
#include <new>
#include <stdlib.h>

#include "zol/alloc.h"

extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "alloc_dealloc_mismatch=0";
}

namespace {
int arrayNews = 0;
int plainDeletes = 0;
size_t lastSize = 0;
}  // namespace

void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    ++arrayNews;
    lastSize = size;
    return malloc(size);
}

// The runtime's other operators, on the same memory.
void* operator new(size_t size) {
    void* const block = malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    ++plainDeletes;
    free(block);
}

void operator delete(void* block, size_t) noexcept {
    free(block);
}

namespace {

TEST(Force, PairsArrayNewWithPlainDelete) {
    const int news = arrayNews;
    const int deletes = plainDeletes;

    zol_force();

    EXPECT_EQ(news + 1, arrayNews);
    EXPECT_EQ(deletes + 1, plainDeletes);
    EXPECT_EQ(1U, lastSize);
}

}  // namespace
