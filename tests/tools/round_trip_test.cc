// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Random catalogs through the tool and through the library.
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <stdio.h>
#include <stdlib.h>

#include "zol/cat.h"

#include "support/temp_dir.h"
#include "texts.h"
#include "zolcat/files.h"

namespace {

using ::testing::IsEmpty;

// What the library prints; "refused" where it does not open the file.
std::string libraryDump(const std::string& path) {
    char* text = nullptr;
    size_t size = 0;
    FILE* const out = open_memstream(&text, &size);
    const int result = xcat_dump_file(path.c_str(), out);
    EXPECT_EQ(0, fclose(out));
    std::string dump(text, size);
    free(text);
    return result == 0 ? dump : "refused";
}

class Random {
  public:
    explicit Random(unsigned seed) : m_engine(seed) {}

    unsigned below(unsigned end) { return static_cast<unsigned>(m_engine() % end); }
    bool oneIn(unsigned count) { return below(count) == 0; }
    // Any byte but zero, and often one that has a meaning in sources.
    char byte() {
        constexpr char kSpecial[] = "\\\"'\n\r\t $%|0123456789n";
        return oneIn(2) ? kSpecial[below(sizeof kSpecial - 1)] : static_cast<char>(1 + below(255));
    }
    std::string text(unsigned longest) {
        std::string result;
        for (unsigned left = below(longest + 1); left > 0; --left) {
            result += byte();
        }
        return result;
    }
    std::string name() {
        std::string result;
        for (unsigned left = 1 + below(64); left > 0; --left) {
            result += static_cast<char>('a' + below(26));
        }
        return result;
    }

  private:
    std::mt19937 m_engine;
};

zolcat::Catalog randomCatalog(Random& random) {
    zolcat::Catalog catalog;
    catalog.id = random.below(256);
    catalog.name = random.name();
    for (unsigned sets = random.below(5); sets > 0; --sets) {
        zolcat::Set& set = catalog.sets[random.oneIn(2) ? random.below(256) : random.below(4)];
        set.name = random.name();
        for (unsigned messages = random.below(20); messages > 0; --messages) {
            const unsigned number = random.oneIn(9) ? random.below(2000) : random.below(30);
            set.messages[number].text = random.text(random.oneIn(20) ? 700 : 20);
        }
    }
    return catalog;
}

// Writes catalogs down in one of the many ways in which that can be done.
class SourceWriter {
  public:
    explicit SourceWriter(Random& random) : m_random(random) {}

    std::string write(const zolcat::Catalog& catalog) {
        m_source = "$catalog " + std::to_string(catalog.id) + " " + catalog.name + "\n";
        for (const auto& [id, set] : catalog.sets) {
            m_source += "$set " + std::to_string(id) + " comment\n$setname " + set.name + "\n";
            for (const auto& [number, message] : set.messages) {
                if (m_random.oneIn(4)) {
                    changeQuote();
                }
                m_source += std::to_string(number) + (m_random.oneIn(2) ? " " : "\t");
                writeText(message.text);
            }
        }
        return m_source;
    }

  private:
    void changeQuote() {
        m_quote = "\"'|%"[m_random.below(4)];
        if (m_random.oneIn(3)) {
            m_quote = '\0';
        }
        m_source += "$quote";
        if (m_quote != '\0') {
            m_source += std::string(" ") + m_quote;
        }
        m_source += m_random.oneIn(2) ? "\n" : "\r\n";
    }

    void writeText(const std::string& text) {
        const bool isQuoted = m_quote != '\0' && m_random.oneIn(2);
        m_source += isQuoted ? std::string(1, m_quote) : "";
        bool isFirst = true;
        for (const char c : text) {
            if (m_random.oneIn(12)) {
                m_source += m_random.oneIn(2) ? "\\\n" : "\\\r\n";
            }
            const bool mustEscape = c == '\\' || c == '\n' || c == '\r' ||
                                    (m_quote != '\0' && c == m_quote && (isQuoted || isFirst));
            m_source += mustEscape || m_random.oneIn(8) ? escaped(c) : std::string(1, c);
            isFirst = false;
        }
        m_source += isQuoted ? std::string(1, m_quote) : "";
        m_source += m_random.oneIn(2) ? "\n" : "\r\n";
    }

    std::string escaped(char c) {
        if (c == '\n' && m_random.oneIn(2)) {
            return "\\n";
        }
        if ((c == '\\' || (c == m_quote && m_quote != '\0')) && m_random.oneIn(2)) {
            return std::string("\\") + c;
        }
        char digits[8];
        (void)snprintf(digits, sizeof digits, "\\%03o",
                       static_cast<unsigned>(static_cast<unsigned char>(c)));
        return digits;
    }

    Random& m_random;
    std::string m_source;
    char m_quote = '\0';
};

TEST(RoundTrip, OfRandomCatalogsKeepsEveryByte) {
    TempDir folder;
    const std::string path = folder.file("a.cat");
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const zolcat::Catalog catalog = randomCatalog(random);
        const std::string source = SourceWriter(random).write(catalog);

        const zolcat::Reading reading = read(source);
        ASSERT_THAT(printed(reading), IsEmpty()) << source;
        const std::string bytes = zolcat::writeCatalog(reading.catalog);
        ASSERT_EQ(0, zolcat::replaceFile(path, bytes));

        ASSERT_EQ(dumpOf(catalog), libraryDump(path)) << source;
        ASSERT_EQ(bytes, zolcat::writeCatalog(read(source).catalog));
        const zolcat::Reading again = zolcat::readCatalogFile("a.cat", bytes);
        ASSERT_THAT(printed(again), IsEmpty());
        ASSERT_EQ(dumpOf(catalog), dumpOf(again.catalog));
    }
}

// A dump without its catalog and sets.
std::string messagesIn(const std::string& dump) {
    std::istringstream lines(dump);
    std::string messages;
    for (std::string line; std::getline(lines, line);) {
        messages +=
            line.rfind("CATALOG '", 0) == 0 || line.rfind("  SET '", 0) == 0 ? "" : line + "\n";
    }
    return messages;
}

// Whether the library reads on in another place than the tool.
bool isAstray(const zolcat::Reading& reading) {
    return std::any_of(reading.problems.begin(), reading.problems.end(), [](const auto& problem) {
        return problem.text.find("looked for at byte") != std::string::npos;
    });
}

void damage(std::string& bytes, Random& random) {
    const unsigned size = static_cast<unsigned>(bytes.size());
    if (random.oneIn(3)) {
        bytes.resize(random.below(size));
    } else {
        bytes[random.below(random.oneIn(2) ? 24 : size)] = static_cast<char>(random.below(256));
    }
}

TEST(RoundTrip, OfDamagedFilesAgreesWithTheLibrary) {
    TempDir folder;
    const std::string path = folder.file("a.cat");
    for (unsigned seed = 1; seed <= 1000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        std::string bytes = zolcat::writeCatalog(randomCatalog(random));
        damage(bytes, random);
        ASSERT_EQ(0, zolcat::replaceFile(path, bytes));

        const zolcat::Reading reading = zolcat::readCatalogFile("a.cat", bytes);
        const std::string dump = libraryDump(path);

        ASSERT_EQ(reading.isRefused, dump == "refused");
        if (!reading.isRefused && !isAstray(reading)) {
            ASSERT_EQ(messagesIn(dumpOf(reading.catalog)), messagesIn(dump));
        }
    }
}

}  // namespace
