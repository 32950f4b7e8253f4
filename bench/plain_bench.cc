// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Text made plain, beside iconv(3) to "ASCII//TRANSLIT" and g_str_to_ascii(). An operation is a
// text of so many bytes.
//
//   plain_french   every sixth letter has an accent, as in French
//   plain_ascii    there is nothing to do
//
// They do not make the same of it: iconv writes "?" for what it does not know, GLib knows how
// languages write their letters. The limit reads and writes each byte once.

#include <glib.h>
#include <iconv.h>
#include <locale.h>
#include <string>

#include "zol/str.h"

#include "measure.h"

namespace {

constexpr int kSizes[] = {20, 1024, 65536};

std::string makeText(int size, const char* pattern) {
    std::string text;
    while (static_cast<int>(text.size()) < size) {
        text += pattern;
    }
    return text;
}

void addAll(const char* subject, int size, const char* pattern) {
    const std::string text = makeText(size, pattern);
    bench::add(subject, "zol", size, [text](benchmark::State& state) {
        bench::measure(state, 1, [&] {
            zol::CStr plain(text.c_str(), static_cast<int>(text.size()));
            xstr_replaceSpecialCharUTF8(plain.handle());
            benchmark::DoNotOptimize(plain.get());
        });
    });
    bench::add(subject, "iconv", size, [text](benchmark::State& state) {
        const iconv_t converter = iconv_open("ASCII//TRANSLIT", "UTF-8");
        std::string out(2 * text.size(), '\0');
        bench::measure(state, 1, [&] {
            char* from = const_cast<char*>(text.data());
            char* to = &out[0];
            size_t left = text.size();
            size_t room = out.size();
            iconv(converter, nullptr, nullptr, nullptr, nullptr);
            benchmark::DoNotOptimize(iconv(converter, &from, &left, &to, &room));
        });
        iconv_close(converter);
    });
    bench::add(subject, "glib", size, [text](benchmark::State& state) {
        bench::measure(state, 1, [&] {
            gchar* const plain = g_str_to_ascii(text.c_str(), nullptr);
            benchmark::DoNotOptimize(plain);
            g_free(plain);
        });
    });
    bench::add(subject, "limit", size, [text](benchmark::State& state) {
        std::string out(text.size(), '\0');
        bench::measure(state, 1, [&] {
            size_t written = 0;
            for (const char byte : text) {
                out[written] = byte;
                written += byte != '\xc3';
            }
            benchmark::DoNotOptimize(written);
            benchmark::ClobberMemory();
        });
    });
}

}  // namespace

int main(int argc, char** argv) {
    setlocale(LC_ALL, "C.UTF-8");
    for (const int size : kSizes) {
        addAll("plain_french", size, "d\u00e9j\u00e0 vu ");
        addAll("plain_ascii", size, "watering ");
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
