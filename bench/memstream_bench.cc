// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Streams on memory beside those of the C library, open_memstream(3) to write and fmemopen(3) for
// both. An operation is a line.
//
//   stream_print   prints lines of a word and two numbers until the text is of its size
//   stream_put     writes lines that are there already
//   stream_lines   reads a text line by line
//
// The limits print and copy into an array that is large enough, and look for the ends of lines.
// Opening and closing is part of all. fmemopen(3) has to know the size beforehand.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>

#include "zol/buffer.h"

#include "measure.h"

namespace {

constexpr int kSizes[] = {64, 1024, 1048576};
constexpr char kFormat[] = "zone %d %06d\n";
constexpr char kLine[] = "zone 4 000123\n";
constexpr int kLineLength = sizeof kLine - 1;

char room[1048576 + 100];

int linesOf(int size) {
    return size / kLineLength;
}

void printLines(FILE* stream, int lines) {
    for (int i = 0; i != lines; ++i) {
        fprintf(stream, kFormat, 4, 123);
    }
    fclose(stream);
}

void putLines(FILE* stream, int lines) {
    for (int i = 0; i != lines; ++i) {
        fputs(kLine, stream);
    }
    fclose(stream);
}

void readLines(FILE* stream) {
    char line[100];
    while (fgets(line, sizeof line, stream) != nullptr) {
        benchmark::DoNotOptimize(line);
    }
    fclose(stream);
}

template <class Body>
void add(const char* subject, const char* peer, int size, Body body) {
    bench::add(subject, peer, size, [=](benchmark::State& state) {
        bench::measure(state, linesOf(size), [&] { body(linesOf(size)); });
    });
}

/** Both ways of writing, on what a peer opens. */
template <class Write>
void addWriter(const char* subject, int size, Write write) {
    add(subject, "zol", size, [=](int lines) {
        zol::CStr text;
        write(xstr_fopen(text.handle(), "w"), lines);
        benchmark::DoNotOptimize(text.get());
    });
    add(subject, "zol_buffer", size, [=](int lines) {
        xbuffer bytes = nullptr;
        write(xbuffer_fopen(&bytes, "w"), lines);
        benchmark::DoNotOptimize(bytes);
        xsbuf_free(&bytes);
    });
    add(subject, "open_memstream", size, [=](int lines) {
        char* text = nullptr;
        size_t length = 0;
        write(open_memstream(&text, &length), lines);
        benchmark::DoNotOptimize(text);
        free(text);
    });
    add(subject, "fmemopen", size, [=](int lines) {
        write(fmemopen(room, static_cast<size_t>(lines) * kLineLength + 1, "w"), lines);
        benchmark::DoNotOptimize(room);
    });
}

void addPrint(int size) {
    addWriter("stream_print", size, printLines);
    add("stream_print", "limit", size, [](int lines) {
        for (int i = 0; i != lines; ++i) {
            (void)snprintf(room + i * kLineLength, kLineLength + 1, kFormat, 4, 123);
        }
        benchmark::DoNotOptimize(room);
        benchmark::ClobberMemory();
    });
}

void addPut(int size) {
    addWriter("stream_put", size, putLines);
    add("stream_put", "limit", size, [](int lines) {
        for (int i = 0; i != lines; ++i) {
            memcpy(room + i * kLineLength, kLine, kLineLength);
            benchmark::ClobberMemory();
        }
    });
}

void addRead(int size) {
    std::string text;
    for (int i = 0; i != linesOf(size); ++i) {
        text += kLine;
    }
    add("stream_lines", "zol", size,
        [text](int) { readLines(xstr_fopen_cstr(text.c_str(), "r")); });
    add("stream_lines", "fmemopen", size,
        [text](int) { readLines(fmemopen(const_cast<char*>(text.data()), text.size(), "r")); });
    add("stream_lines", "limit", size, [text](int) {
        const char* line = text.c_str();
        while (*line != '\0') {
            const char* const end = strchr(line, '\n') + 1;
            memcpy(room, line, static_cast<size_t>(end - line));
            benchmark::DoNotOptimize(room);
            benchmark::ClobberMemory();
            line = end;
        }
    });
}

}  // namespace

int main(int argc, char** argv) {
    for (const int size : kSizes) {
        addPrint(size);
        addPut(size);
        addRead(size);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
