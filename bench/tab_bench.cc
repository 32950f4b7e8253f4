// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Tables of integers beside std::vector, and beside the bytes that have to be moved whoever does
// it.
//
//   tab_append   appends one element, again and again, to a table that begins empty
//   tab_share    makes a copy of a table and gives it up
//   tab_detach   makes a copy, changes its first element and gives it up

#include <memory>
#include <stdlib.h>
#include <string.h>
#include <vector>

#include "zol/tab.h"

#include "measure.h"

namespace {

using Table = zol::CTab<int>;

constexpr int kOperations = 100;
constexpr int kSizes[] = {4, 16, 64, 1024, 16384};

Table tableOf(int size) {
    Table table;
    for (int i = 0; i != size; ++i) {
        table.append(i);
    }
    return table;
}

std::vector<int> vectorOf(int size) {
    std::vector<int> vector;
    for (int i = 0; i != size; ++i) {
        vector.push_back(i);
    }
    return vector;
}

void append(int size) {
    bench::add("tab_append", "zol", size, [size](benchmark::State& state) {
        bench::measure(state, size, [size] {
            const Table table = tableOf(size);
            benchmark::DoNotOptimize(table.begin());
        });
    });
    bench::add("tab_append", "std", size, [size](benchmark::State& state) {
        bench::measure(state, size, [size] {
            const std::vector<int> vector = vectorOf(size);
            benchmark::DoNotOptimize(vector.data());
        });
    });
    bench::add("tab_append", "limit", size, [size](benchmark::State& state) {
        bench::measure(state, size, [size] {
            int* const array = static_cast<int*>(malloc(static_cast<size_t>(size) * sizeof(int)));
            for (int i = 0; i != size; ++i) {
                array[i] = i;
                benchmark::ClobberMemory();
            }
            benchmark::DoNotOptimize(array);
            free(array);
        });
    });
}

/** Copies a container of `size` elements; `use` is given each copy. */
template <class Container, class Use>
void addCopying(const char* subject, const char* peer, int size, Container (*make)(int), Use use) {
    bench::add(subject, peer, size, [=](benchmark::State& state) {
        const Container source = make(size);
        bench::measure(state, kOperations, [&] {
            for (int i = 0; i != kOperations; ++i) {
                Container copy(source);
                use(copy);
            }
        });
    });
}

void addMemcpy(const char* subject, int size) {
    bench::add(subject, "limit", size, [=](benchmark::State& state) {
        const std::vector<int> source = vectorOf(size);
        std::vector<int> room(source.size());
        bench::measure(state, kOperations, [&] {
            for (int i = 0; i != kOperations; ++i) {
                memcpy(room.data(), source.data(), source.size() * sizeof(int));
                benchmark::DoNotOptimize(room.data());
                benchmark::ClobberMemory();
            }
        });
    });
}

void share(int size) {
    addCopying("tab_share", "zol", size, tableOf,
               [](const Table& copy) { benchmark::DoNotOptimize(copy.begin()); });
    addCopying("tab_share", "std", size, vectorOf,
               [](const std::vector<int>& copy) { benchmark::DoNotOptimize(copy.data()); });
    addMemcpy("tab_share", size);
}

void detach(int size) {
    addCopying("tab_detach", "zol", size, tableOf, [](Table& copy) {
        *copy.getTable() = -1;
        benchmark::DoNotOptimize(copy.begin());
        benchmark::ClobberMemory();
    });
    addCopying("tab_detach", "std", size, vectorOf, [](std::vector<int>& copy) {
        copy.front() = -1;
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    });
    addMemcpy("tab_detach", size);
}

}  // namespace

int main(int argc, char** argv) {
    for (const int size : {16, 1024, 65536}) {
        append(size);
    }
    for (const int size : kSizes) {
        share(size);
        detach(size);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
