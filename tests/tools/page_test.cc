// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// docs/catalog-format.md shows a source, and what is made of it.
#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "texts.h"
#include "zolcat/check.h"
#include "zolcat/header.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string page() {
    std::ostringstream text;
    text << std::ifstream(CATALOG_FORMAT_PAGE).rdbuf();
    return text.str();
}

// What the page shows behind a line.
std::string shownBehind(const std::string& line) {
    const std::string text = page();
    const size_t start = text.find(line) + line.size();
    return text.substr(start, text.find("```", start) - start);
}

std::string lineWith(const std::string& beginning) {
    const std::string text = page();
    const size_t start = text.find(beginning);
    return text.substr(start, text.find('\n', start) - start);
}

// The number that follows these words, which may be broken into lines.
size_t numberBehind(const std::string& words) {
    std::string text = page();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return std::stoul(text.substr(text.find(words) + words.size(), 5));
}

zolcat::Reading shownSource() {
    return zolcat::readSources({{"en.msg", shownBehind("```msg\n")}});
}

std::string indented(const std::string& text) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        result += (line.empty() ? "" : "   " + line) + "\n";
    }
    return result;
}

// As hexdump -C prints.
std::string hexDump(const std::string& bytes) {
    std::string dump;
    char number[32];
    for (size_t start = 0; start < bytes.size(); start += 16) {
        const std::string row = bytes.substr(start, 16);
        (void)snprintf(number, sizeof number, "%08zx", start);
        dump += number;
        for (size_t i = 0; i < 16; ++i) {
            const unsigned byte = i < row.size() ? static_cast<unsigned char>(row[i]) : 0;
            (void)snprintf(number, sizeof number, " %02x", byte);
            dump += i % 8 == 0 ? " " : "";
            dump += i < row.size() ? number : "   ";
        }
        dump += "  |";
        for (const char c : row) {
            dump += c >= 0x20 && c < 0x7f ? c : '.';
        }
        dump += "|\n";
    }
    (void)snprintf(number, sizeof number, "%08zx\n", bytes.size());
    return dump + number;
}

TEST(CatalogFormatPage, ShowsAGoodSource) {
    EXPECT_THAT(printed(shownSource()), IsEmpty());
}

TEST(CatalogFormatPage, ShowsTheBytesOfTheCatalogFile) {
    EXPECT_EQ(hexDump(zolcat::writeCatalog(shownSource().catalog)),
              shownBehind("made of the source above:\n\n```\n"));
}

TEST(CatalogFormatPage, ShowsTheHeader) {
    EXPECT_EQ(indented(zolcat::makeHeader(shownSource().catalog, "GARDEN")) + "   ",
              shownBehind("```c\n"));
}

TEST(CatalogFormatPage, ShowsWhatCheckSays) {
    std::string source = shownBehind("```msg\n");
    source.replace(source.find("%d"), 2, "%s");
    const zolcat::Catalog german = zolcat::readSources({{"de.msg", source}}).catalog;

    EXPECT_THAT(printed(german, zolcat::compare(german, shownSource().catalog)),
                ElementsAre(lineWith("de.msg:8")));
}

TEST(CatalogFormatPage, NamesTheOffsetsInTheExample) {
    const zolcat::Catalog catalog =
        zolcat::readCatalogFile("en.cat", zolcat::writeCatalog(shownSource().catalog)).catalog;

    EXPECT_EQ(numberBehind("first set, at "), catalog.sets.at(0).place.number);
    EXPECT_EQ(numberBehind("texts begin at "), catalog.find(0, 0)->place.number);
    EXPECT_EQ(numberBehind("zero byte at "), catalog.find(0, 2)->place.number - 1);
    EXPECT_EQ(numberBehind("second set, at "), catalog.sets.at(2).place.number);
}

}  // namespace
