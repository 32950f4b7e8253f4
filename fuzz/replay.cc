// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Runs a fuzz target over the files of its corpus, with any compiler: an ordinary test.
// usage: PROGRAM FOLDER
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argc == 2 ? argv[1] : ".")) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        printf("%s\n", entry.path().c_str());
        fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        ++files;
    }
    printf("%d files\n", files);
    return files > 0 ? 0 : 1;
}
