// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Strings beside std::string, and beside the bytes that have to be moved whoever does it.
//
//   str_create    makes a string of a text and gives it up
//   str_copy      makes a copy of a string and gives it up
//   str_write     makes a copy, changes its first byte and gives it up
//   str_append    appends eight bytes, again and again, to a string that begins empty
//   str_format    prints a line of some words and numbers
//   str_replace   replaces every third byte by two others

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>

#include "zol/str.h"

#include "measure.h"

namespace {

constexpr int kOperations = 100;
constexpr int kSizes[] = {4, 16, 64, 256, 1024, 4096, 16384, 65536};

// Where the limits put their results. Longer than any text after replacing.
char room[2 * 65536 + 1];

std::string text(int size) {
    std::string result;
    for (int i = 0; i != size; ++i) {
        result += "ab,"[i % 3];
    }
    return result;
}

/** Does an operation with a text of `size` bytes; `operations` times, for one is short. */
template <class Operation>
void add(const char* subject, const char* peer, int size, Operation operation,
         int operations = kOperations) {
    bench::add(subject, peer, size, [=](benchmark::State& state) {
        const std::string source = text(size);
        bench::measure(state, operations, [&] { operation(source, operations); });
    });
}

void create(int size) {
    add("str_create", "zol", size, [](const std::string& source, int operations) {
        for (int i = 0; i != operations; ++i) {
            zol::CStr made(source.c_str());
            benchmark::DoNotOptimize(made.get());
        }
    });
    add("str_create", "std", size, [](const std::string& source, int operations) {
        for (int i = 0; i != operations; ++i) {
            std::string made(source.c_str());
            benchmark::DoNotOptimize(made.data());
        }
    });
    add("str_create", "limit", size, [](const std::string& source, int operations) {
        for (int i = 0; i != operations; ++i) {
            const size_t bytes = strlen(source.c_str()) + 1;
            void* const made = malloc(bytes);
            memcpy(made, source.c_str(), bytes);
            benchmark::DoNotOptimize(made);
            benchmark::ClobberMemory();
            free(made);
        }
    });
}

void copy(int size) {
    bench::add("str_copy", "zol", size, [size](benchmark::State& state) {
        const zol::CStr source(text(size).c_str());
        bench::measure(state, kOperations, [&] {
            for (int i = 0; i != kOperations; ++i) {
                zol::CStr copied(source);
                benchmark::DoNotOptimize(copied.get());
            }
        });
    });
    add("str_copy", "std", size, [](const std::string& source, int operations) {
        for (int i = 0; i != operations; ++i) {
            std::string copied(source);
            benchmark::DoNotOptimize(copied.data());
        }
    });
    add("str_copy", "limit", size, [](const std::string& source, int operations) {
        for (int i = 0; i != operations; ++i) {
            memcpy(room, source.data(), source.size() + 1);
            benchmark::DoNotOptimize(+room);
            benchmark::ClobberMemory();
        }
    });
}

void write(int size) {
    bench::add("str_write", "zol", size, [size](benchmark::State& state) {
        const zol::CStr source(text(size).c_str());
        bench::measure(state, kOperations, [&] {
            for (int i = 0; i != kOperations; ++i) {
                zol::CStr copied(source);
                *xstr_get_buffer(copied.handle(), 0) = 'A';
                benchmark::DoNotOptimize(copied.get());
            }
        });
    });
    add("str_write", "std", size, [](const std::string& source, int operations) {
        for (int i = 0; i != operations; ++i) {
            std::string copied(source);
            copied[0] = 'A';
            benchmark::DoNotOptimize(copied.data());
        }
    });
    add("str_write", "limit", size, [](const std::string& source, int operations) {
        for (int i = 0; i != operations; ++i) {
            char* const copied = static_cast<char*>(malloc(source.size() + 1));
            memcpy(copied, source.data(), source.size() + 1);
            copied[0] = 'A';
            benchmark::DoNotOptimize(copied);
            benchmark::ClobberMemory();
            free(copied);
        }
    });
}

// An operation is one append of eight bytes.
void append(int size) {
    const int pieces = size / 8;
    const auto zolAppend = [](const std::string& source, int operations) {
        zol::CStr grown;
        for (int i = 0; i != operations; ++i) {
            grown.concat(source.data() + 8 * i, 8);
        }
        benchmark::DoNotOptimize(grown.get());
    };
    const auto stdAppend = [](const std::string& source, int operations) {
        std::string grown;
        for (int i = 0; i != operations; ++i) {
            grown.append(source.data() + 8 * i, 8);
        }
        benchmark::DoNotOptimize(grown.data());
    };
    const auto limit = [](const std::string& source, int operations) {
        char* const grown = static_cast<char*>(malloc(source.size() + 1));
        for (int i = 0; i != operations; ++i) {
            memcpy(grown + 8 * i, source.data() + 8 * i, 8);
            benchmark::ClobberMemory();
        }
        benchmark::DoNotOptimize(grown);
        free(grown);
    };
    add("str_append", "zol", size, zolAppend, pieces);
    add("str_append", "std", size, stdAppend, pieces);
    add("str_append", "limit", size, limit, pieces);
}

const char kFormat[] = "zone %d of %s: %d.%02d litres, valve %s";

void format() {
    add("str_format", "zol", 48, [](const std::string&, int operations) {
        for (int i = 0; i != operations; ++i) {
            zol::CStr line;
            line.format(kFormat, i, "the back garden", i, i % 100, "open");
            benchmark::DoNotOptimize(line.get());
        }
    });
    add("str_format", "std", 48, [](const std::string&, int operations) {
        for (int i = 0; i != operations; ++i) {
            char line[512];
            const int length =
                snprintf(line, sizeof line, kFormat, i, "the back garden", i, i % 100, "open");
            std::string made(line, static_cast<size_t>(length));
            benchmark::DoNotOptimize(made.data());
        }
    });
    add("str_format", "limit", 48, [](const std::string&, int operations) {
        for (int i = 0; i != operations; ++i) {
            char line[512];
            (void)snprintf(line, sizeof line, kFormat, i, "the back garden", i, i % 100, "open");
            benchmark::DoNotOptimize(+line);
            benchmark::ClobberMemory();
        }
    });
}

// An operation makes the string anew and replaces all.
void replace(int size) {
    const int operations = 10;
    const auto zolReplace = [](const std::string& source, int times) {
        for (int i = 0; i != times; ++i) {
            zol::CStr changed(source.c_str());
            changed.replace(",", "; ");
            benchmark::DoNotOptimize(changed.get());
        }
    };
    const auto stdReplace = [](const std::string& source, int times) {
        for (int i = 0; i != times; ++i) {
            std::string changed(source);
            for (size_t at = changed.find(','); at != std::string::npos;
                 at = changed.find(',', at + 2)) {
                changed.replace(at, 1, "; ");
            }
            benchmark::DoNotOptimize(changed.data());
        }
    };
    const auto limit = [](const std::string& source, int times) {
        for (int i = 0; i != times; ++i) {
            char* to = room;
            for (const char ch : source) {
                if (ch == ',') {
                    *to++ = ';';
                    *to++ = ' ';
                } else {
                    *to++ = ch;
                }
            }
            benchmark::DoNotOptimize(to);
            benchmark::ClobberMemory();
        }
    };
    add("str_replace", "zol", size, zolReplace, operations);
    add("str_replace", "std", size, stdReplace, operations);
    add("str_replace", "limit", size, limit, operations);
}

}  // namespace

int main(int argc, char** argv) {
    for (const int size : kSizes) {
        create(size);
        copy(size);
        write(size);
    }
    for (const int size : {64, 1024, 65536}) {
        append(size);
    }
    format();
    for (const int size : {48, 384, 4096}) {
        replace(size);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
