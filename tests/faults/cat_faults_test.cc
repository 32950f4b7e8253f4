// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Message catalogs with each allocation failing in turn: descriptors are closed, and what can be
// looked up is right or missing.

#include <gtest/gtest.h>
#include <string.h>

#include "zol/cat.h"

#include "cat/catalog_fixture.h"
#include "support/alloc_faults.h"
#include "support/open_fds.h"

namespace {

class CatalogFaults : public CatalogFiles {
  protected:
    CatalogFaults() {
        const SetBytes zones(0, "zones and their names, for long", {"roses", "", "a long lawn"});
        const SetBytes many(9, "many", std::vector<std::string>(600, "rain"));
        path = write("en/a.cat", CatalogBytes(1, "garden", {zones, many}).bytes());
        frenchPath = writeText("fr/b.cat", 20, "roses");
        pattern = dir.file("%s/*.cat");
    }

    static bool faulted() { return AllocFaults::hasFailed(); }

    std::string path;
    std::string frenchPath;
    std::string pattern;
};

// What a lookup found: `wanted` or nothing.
bool isRightOrMissing(int result, const zol::CStr& text, const char* wanted) {
    return result == 0 ? text == wanted : result == -1;
}

TEST_F(CatalogFaults, FilesAreReadOrRefused) {
    const int before = openFds();
    forEachFailingAllocation([this] {
        zol::cat::CFile file;
        unsigned id = 999;
        const int result = file.open(path.c_str(), id);
        EXPECT_EQ(result == 0, file.getStream() != nullptr);
        if (!faulted()) {
            EXPECT_EQ(0, result);
        }
        zol::CStr text;
        EXPECT_TRUE(isRightOrMissing(file.getMessage(0x01000002, text), text, "a long lawn"));
        EXPECT_TRUE(isRightOrMissing(file.getMessage(0x01090257, text), text, "rain"));
    });
    EXPECT_EQ(before, openFds());
}

TEST_F(CatalogFaults, AFileThatIsNotOpenedAgainKeepsWhatItHas) {
    forEachFailingAllocation([this] {
        zol::cat::CFile file;
        unsigned id = 999;
        if (file.open(frenchPath.c_str(), id) != 0 || faulted()) {
            return;  // swept above
        }
        const bool isNew = file.open(path.c_str(), id) == 0;
        EXPECT_STREQ(isNew ? "garden" : "test", file.getName().get());
        EXPECT_TRUE(isNew || file.getSets().getCount() == 1);
        EXPECT_NE(nullptr, file.getStream());
    });
}

TEST_F(CatalogFaults, AnOpenFileHoldsNoBuffer) {
    const std::string small = write("small.cat", CatalogBytes(1, "", {}).bytes());
    zol::cat::CFile file;
    unsigned id = 999;
    const long before = AllocFaults::liveBlocks();

    const int result = file.open(small.c_str(), id);

    EXPECT_EQ(before + 1, AllocFaults::liveBlocks());  // the stream
    EXPECT_EQ(0, result);
}

TEST_F(CatalogFaults, AFileThatIsNotKeptIsClosed) {
    const int before = openFds();
    forEachFailingAllocation([this] {
        zol::cat::CCatalog catalog;
        const int result = catalog.openFile(frenchPath.c_str());
        if (!faulted()) {
            EXPECT_EQ(0, result);
        }
        EXPECT_EQ(result == 0, catalog.getFiles().getCount() == 21);
        zol::CStr text("as it was");
        const int found = catalog.getMessage(0x14000000, text);
        if (result == -1) {
            EXPECT_EQ(-1, found);
        }
        EXPECT_TRUE(isRightOrMissing(found, text, "roses"));
    });
    EXPECT_EQ(before, openFds());
}

TEST_F(CatalogFaults, RegistriesAnswerWhatTheyCould) {
    const int before = openFds();
    forEachFailingAllocation([this] {
        xcat_registry* const registry = xcat_create("en");
        EXPECT_EQ(faulted(), registry == nullptr);
        if (registry == nullptr) {
            return;
        }
        xcat_add_catalogs(registry, pattern.c_str());
        xstr text;
        xstr_init(&text);
        const xcat_catalog* const french = xcat_get_catalog(registry, "fr");
        if (xcat_msg(french, 0x14000000, &text) == 0) {
            EXPECT_STREQ("roses", text);
        } else {
            EXPECT_TRUE(faulted());
        }
        if (xcat_msg(xcat_get_catalog(registry, "en"), 0x01090000, &text) == 0) {
            EXPECT_STREQ("rain", text);
        }
        xstr_free(&text);
        xcat_close(registry);
    });
    EXPECT_EQ(before, openFds());
}

TEST_F(CatalogFaults, AllFilesOfALanguageAreFoundOrNone) {
    for (const char* name : {"en1", "en2", "en3", "en4", "en5", "en6", "en7", "en8", "en9"}) {
        writeText(name, 2, "rain");
    }
    // In the present folder, for glibc 2.36 has a fault of its own: a glob(3) that puts a folder
    // before several names frees them twice when it runs out of memory.
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path());
    forEachFailingAllocation([] {
        const auto paths = zol::cat::CInterCatalog::findFiles("en", "%s?");
        EXPECT_EQ(paths.isEmpty() ? 0 : 9, paths.getCount());
        EXPECT_TRUE(faulted() || !paths.isEmpty());
        for (const zol::CStr& each : paths) {
            EXPECT_EQ(3, each.getLength());
        }
    });
    std::filesystem::current_path(before);
}

// Whether a catalog answers in the language of message 0, or has no files.
bool isIn(const char* language, const zol::cat::CCatalog& catalog) {
    zol::CStr text;
    return catalog.getFiles().getCount() == 0 ||
           isRightOrMissing(catalog.getMessage(0x14000000, text), text, language);
}

TEST_F(CatalogFaults, ALanguageThatCannotBeKeptIsAnsweredInTheDefaultOne) {
    const char* const languages[] = {"en", "1", "2", "3", "4", "5", "6", "7", "8", "9", "fr"};
    for (const char* language : languages) {
        writeText(std::string(language) + "/b.cat", 20, language);
    }
    const std::string patternOfTexts = dir.file("%s/b.cat");
    const int before = openFds();
    forEachFailingAllocation([&] {
        zol::cat::CInterCatalog registry("en", patternOfTexts.c_str());
        for (const char* language : languages) {
            const zol::cat::CCatalog* const catalog = registry.getCatalog(language);
            EXPECT_TRUE(catalog == nullptr ? faulted()
                                           : isIn(language, *catalog) || isIn("en", *catalog))
                << language;
        }
        // Nothing may be left under a wrong name.
        const zol::cat::CCatalog* const unnamed = registry.getCatalog("");
        const zol::cat::CCatalog* const unknown = registry.getCatalog("ja");
        EXPECT_EQ(unnamed, unknown);
        EXPECT_TRUE(unknown == nullptr ? faulted() : isIn("en", *unknown));
    });
    EXPECT_EQ(before, openFds());
}

TEST_F(CatalogFaults, ALookupWithoutMemoryLeavesAValidText) {
    zol::cat::CFile file;
    unsigned id = 999;
    ASSERT_EQ(0, file.open(path.c_str(), id));
    forEachFailingAllocation([&file] {
        const zol::CStr other("before");
        zol::CStr text(other);
        const int result = file.getMessage(0x01000002, text);
        EXPECT_TRUE(isRightOrMissing(result, text, "a long lawn"));
        EXPECT_EQ(strlen(text.get()), static_cast<size_t>(text.getLength()));
        if (!faulted()) {
            EXPECT_EQ(0, result);
        }
    });
}

}  // namespace
