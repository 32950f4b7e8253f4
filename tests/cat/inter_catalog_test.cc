// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The registry: which files a language has, which language answers, what stays open.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>

#include "zol/cat.h"

#include "catalog_fixture.h"
#include "support/open_fds.h"
#include "support/syslog_capture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using zol::CStr;
using zol::CTab;
using zol::cat::CCatalog;
using zol::cat::CInterCatalog;

namespace {

class Registry : public CatalogFiles {
  protected:
    std::string pattern(const std::string& name = "%s/*.cat") { return dir.file(name); }

    std::vector<std::string> found(const char* language, const std::string& withPattern) {
        std::vector<std::string> names;
        for (const CStr& path : CInterCatalog::findFiles(language, withPattern.c_str())) {
            names.push_back(std::string(path.get()).substr(dir.path().size() + 1));
        }
        return names;
    }

    CInterCatalog registry{"en", nullptr};
};

// --- finding files ---

TEST_F(Registry, FindsTheFilesOfALanguageSorted) {
    writeText("en/b.cat", 2, "two");
    writeText("en/a.cat", 1, "one");
    writeText("en/c.cat", 3, "three");
    writeText("en/d.txt", 4, "four");
    writeText("de/a.cat", 1, "eins");

    EXPECT_THAT(found("en", pattern()), ElementsAre("en/a.cat", "en/b.cat", "en/c.cat"));
}

TEST_F(Registry, FindsNothingForALanguageWithoutFiles) {
    writeText("en/a.cat", 1, "one");

    EXPECT_THAT(found("fr", pattern()), IsEmpty());
    EXPECT_THAT(found(nullptr, pattern()), IsEmpty());
    EXPECT_THAT(found("en", ""), IsEmpty());
}

TEST_F(Registry, FindsTheLanguageAnywhereInThePath) {
    writeText("texts.en.cat", 1, "one");
    writeText("100%/en", 1, "one");
    writeText("all.cat", 1, "one");

    EXPECT_THAT(found("en", pattern("texts.%s.cat")), ElementsAre("texts.en.cat"));
    EXPECT_THAT(found("en", pattern("100%%/%s")), ElementsAre("100%/en"));
    EXPECT_THAT(found("en", pattern("all.cat")), ElementsAre("all.cat"));
}

TEST_F(Registry, FindsFilesByAllWildcards) {
    writeText("en/a1.cat", 1, "one");
    writeText("en/a2.cat", 1, "one");
    writeText("en/b1.cat", 1, "one");

    EXPECT_THAT(found("en", pattern("%s/?1.cat")), ElementsAre("en/a1.cat", "en/b1.cat"));
    EXPECT_THAT(found("en", pattern("%s/[!b]*")), ElementsAre("en/a1.cat", "en/a2.cat"));
    EXPECT_THAT(found("e*", pattern("%s/b*")), ElementsAre("en/b1.cat"));
}

TEST_F(Registry, FindsFilesByNothingButTheUsualWildcards) {
    writeText("en/a.cat", 1, "one");
    writeText("en/b.cat", 1, "one");
    writeText("en/*.cat", 1, "one");
    std::filesystem::create_directory(dir.file("en/folder"));

    EXPECT_THAT(found("en", pattern("%s/{a,b}.cat")), IsEmpty());
    EXPECT_THAT(found("en", pattern("%s/\\*.cat")), ElementsAre("en/*.cat"));
    EXPECT_THAT(found("en", pattern("%s/f*")), ElementsAre("en/folder"));
    EXPECT_TRUE(CInterCatalog::findFiles("~", "%s").isEmpty());
}

TEST_F(Registry, FindsNothingByAPatternThatAsksForMoreThanTheLanguage) {
    writeText("en/en.cat", 1, "one");
    writeText("%/en", 1, "one");

    for (const char* name : {"%s/%s.cat", "%d/%s", "%s/%n*", "%s/*%", "%", "%5s/*.cat", "%1$s/*",
                             "%%%", "%ls/*.cat"}) {
        EXPECT_THAT(found("en", pattern(name)), IsEmpty()) << name;
    }
}

TEST_F(Registry, TakesALanguageWithPercentSignsAsItIs) {
    writeText("%s%n/a.cat", 1, "one");

    EXPECT_THAT(found("%s%n", pattern()), ElementsAre("%s%n/a.cat"));
}

TEST_F(Registry, FindsFilesByALongPatternWithTheNoticeOfTheFormatter) {
    SyslogCapture log;
    const std::string folder(200, 'd');
    writeText(folder + "/" + folder + "/" + folder + "/en.cat", 1, "one");

    EXPECT_EQ(1U, found("en", pattern(folder + "/" + folder + "/" + folder + "/%s.cat")).size());

    EXPECT_THAT(log.lines(),
                ElementsAre(SyslogCapture::Line{5, "xstr_format, static buf is too small"}));
}

// --- the default language ---

TEST_F(Registry, LoadsAllFilesOfTheDefaultLanguage) {
    writeText("en/a.cat", 1, "one");
    writeText("en/b.cat", 2, "two");

    registry.addCatalogs(pattern().c_str());

    const CCatalog* const english = registry.getCatalog("en");
    EXPECT_EQ("one", textIn(*english, 0x01000000));
    EXPECT_EQ("two", textIn(*english, 0x02000000));
}

TEST_F(Registry, MadeWithAPatternLoadsTheDefaultLanguage) {
    writeText("en/a.cat", 1, "one");
    const int before = openFds();

    CInterCatalog made("en", pattern().c_str());

    EXPECT_EQ(before + 1, openFds());
    EXPECT_EQ("one", textIn(*made.getCatalog("en"), 0x01000000));
}

TEST_F(Registry, HasNoCatalogBeforeTheFirstPattern) {
    EXPECT_EQ(nullptr, registry.getCatalog("en"));
    EXPECT_EQ(nullptr, registry.getCatalog("fr"));
    EXPECT_EQ(nullptr, registry.getCatalog(nullptr));
}

TEST_F(Registry, HasADefaultLanguageEvenWithoutFiles) {
    registry.addCatalogs(pattern().c_str());

    CCatalog* const english = registry.getCatalog("en");
    ASSERT_NE(nullptr, english);
    EXPECT_EQ(0, english->getFiles().getCount());
    EXPECT_EQ(english, registry.getCatalog("fr"));
}

TEST_F(Registry, SkipsFilesThatCannotBeRead) {
    write("en/a.cat", "#CATALOG, but not one");
    writeText("en/b.cat", 1, "one");
    std::filesystem::create_directory(dir.file("en/c.cat"));
    std::filesystem::create_symlink("nowhere", dir.file("en/d.cat"));

    registry.addCatalogs(pattern().c_str());

    EXPECT_EQ("one", textIn(*registry.getCatalog("en"), 0x01000000));
}

TEST_F(Registry, SkipsThemWithoutAWord) {
    write("en/a.cat", "#CATALOG, but not one");
    write("en/b.cat", CatalogBytes(256, "", {}).bytes());
    std::filesystem::create_directory(dir.file("en/c.cat"));
    SyslogCapture log;
    testing::internal::CaptureStderr();

    registry.addCatalogs(pattern().c_str());
    (void)textIn(*registry.getCatalog("fr"), 0x01000000);

    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Registry, OfTwoFilesWithOneIdAnswersFromTheLaterInSortedOrder) {
    writeText("en/b.cat", 3, "later");
    writeText("en/a.cat", 3, "earlier");

    registry.addCatalogs(pattern().c_str());

    EXPECT_EQ("later", textIn(*registry.getCatalog("en"), 0x03000000));
    EXPECT_EQ(4, registry.getCatalog("en")->getFiles().getCount());
}

// --- other languages ---

TEST_F(Registry, AnswersInTheDefaultLanguageWhereALanguageHasNoFiles) {
    writeText("en/a.cat", 1, "one");
    registry.addCatalogs(pattern().c_str());
    const int before = openFds();

    CCatalog* const french = registry.getCatalog("fr");

    EXPECT_EQ(registry.getCatalog("en"), french);
    EXPECT_EQ("one", textIn(*french, 0x01000000));
    EXPECT_EQ(before, openFds());
}

TEST_F(Registry, LooksForALanguageWithoutFilesAgainEveryTime) {
    writeText("en/a.cat", 1, "one");
    registry.addCatalogs(pattern().c_str());
    EXPECT_EQ("one", textIn(*registry.getCatalog("fr"), 0x01000000));

    writeText("fr/a.cat", 1, "un");

    EXPECT_EQ("un", textIn(*registry.getCatalog("fr"), 0x01000000));
}

TEST_F(Registry, LoadsALanguageOnce) {
    writeText("en/a.cat", 1, "one");
    writeText("fr/a.cat", 1, "un");
    registry.addCatalogs(pattern().c_str());
    const int before = openFds();

    CCatalog* const french = registry.getCatalog("fr");
    EXPECT_EQ(before + 1, openFds());
    writeText("fr/b.cat", 2, "deux");

    EXPECT_EQ(french, registry.getCatalog("fr"));
    EXPECT_EQ(before + 1, openFds());
    EXPECT_EQ("un", textIn(*french, 0x01000000));
    EXPECT_EQ(kMissing, textIn(*french, 0x02000000));
}

TEST_F(Registry, DoesNotFallBackForOneMessage) {
    writeText("en/a.cat", 1, "one");
    writeText("en/b.cat", 2, "two");
    writeText("fr/a.cat", 1, "un");
    registry.addCatalogs(pattern().c_str());

    EXPECT_EQ(kMissing, textIn(*registry.getCatalog("fr"), 0x02000000));
}

TEST_F(Registry, KeepsALanguageOfWhichNoFileCanBeRead) {
    writeText("en/a.cat", 1, "one");
    write("fr/a.cat", "nothing of the kind");
    registry.addCatalogs(pattern().c_str());

    const CCatalog* const french = registry.getCatalog("fr");
    EXPECT_NE(registry.getCatalog("en"), french);
    EXPECT_EQ(kMissing, textIn(*french, 0x01000000));

    writeText("fr/a.cat", 1, "un");
    EXPECT_EQ(french, registry.getCatalog("fr"));
    EXPECT_EQ(kMissing, textIn(*french, 0x01000000));
}

TEST_F(Registry, TellsLanguagesApartByTheirWholeNames) {
    writeText("en/a.cat", 1, "one");
    writeText("de/a.cat", 1, "eins");
    writeText("de_AT/a.cat", 1, "ans");
    registry.addCatalogs(pattern().c_str());

    EXPECT_EQ("ans", textIn(*registry.getCatalog("de_AT"), 0x01000000));
    EXPECT_EQ("eins", textIn(*registry.getCatalog("de"), 0x01000000));
    EXPECT_EQ("one", textIn(*registry.getCatalog("d"), 0x01000000));
    EXPECT_EQ("one", textIn(*registry.getCatalog(""), 0x01000000));
    EXPECT_EQ("one", textIn(*registry.getCatalog("DE"), 0x01000000));
}

TEST_F(Registry, KeepsManyLanguages) {
    writeText("en/a.cat", 1, "en");
    for (int i = 0; i < 20; ++i) {
        const std::string language = "l" + std::to_string(i);
        writeText(language + "/a.cat", 1, language);
    }
    registry.addCatalogs(pattern().c_str());

    for (const char* const round : {"first", "second"}) {
        for (int i = 0; i < 20; ++i) {
            const std::string language = "l" + std::to_string(i);
            EXPECT_EQ(language, textIn(*registry.getCatalog(language.c_str()), 0x01000000))
                << round;
        }
    }
    EXPECT_EQ("en", textIn(*registry.getCatalog("en"), 0x01000000));
}

TEST_F(Registry, KeepsTheNameOfALanguageForItself) {
    writeText("fr/a.cat", 1, "un");
    registry.addCatalogs(pattern().c_str());
    char language[] = "fr";
    const CCatalog* const french = registry.getCatalog(language);

    language[0] = 'd';

    EXPECT_EQ(french, registry.getCatalog("fr"));
}

// --- further patterns ---

TEST_F(Registry, AddsTheFilesOfAnotherPatternToTheDefaultLanguage) {
    writeText("1/en/a.cat", 1, "one");
    writeText("2/en/b.cat", 2, "two");
    registry.addCatalogs(pattern("1/%s/*.cat").c_str());
    registry.addCatalogs(pattern("2/%s/*.cat").c_str());

    EXPECT_EQ("one", textIn(*registry.getCatalog("en"), 0x01000000));
    EXPECT_EQ("two", textIn(*registry.getCatalog("en"), 0x02000000));
}

TEST_F(Registry, DoesNotExtendLanguagesLoadedBeforeAnotherPattern) {
    writeText("1/fr/a.cat", 1, "un");
    writeText("2/fr/b.cat", 2, "deux");
    registry.addCatalogs(pattern("1/%s/*.cat").c_str());
    registry.getCatalog("fr");

    registry.addCatalogs(pattern("2/%s/*.cat").c_str());

    EXPECT_EQ("un", textIn(*registry.getCatalog("fr"), 0x01000000));
    EXPECT_EQ(kMissing, textIn(*registry.getCatalog("fr"), 0x02000000));
}

TEST_F(Registry, LooksForOtherLanguagesByTheLastPatternAlone) {
    writeText("1/fr/a.cat", 1, "un");
    writeText("2/fr/b.cat", 2, "deux");
    registry.addCatalogs(pattern("1/%s/*.cat").c_str());
    registry.addCatalogs(pattern("2/%s/*.cat").c_str());

    EXPECT_EQ(kMissing, textIn(*registry.getCatalog("fr"), 0x01000000));
    EXPECT_EQ("deux", textIn(*registry.getCatalog("fr"), 0x02000000));
}

TEST_F(Registry, UsesTheNameOfTheDefaultLanguageAsItIsWhenAPatternComes) {
    writeText("en/a.cat", 1, "one");
    writeText("fr/a.cat", 1, "un");
    char language[] = "en";
    CInterCatalog made(language, nullptr);

    memcpy(language, "fr", 3);
    made.addCatalogs(pattern().c_str());

    EXPECT_EQ("un", textIn(*made.getCatalog("none"), 0x01000000));
}

TEST_F(Registry, KeepsThePatternForItself) {
    writeText("fr/a.cat", 1, "un");
    std::string given = pattern();
    registry.addCatalogs(given.c_str());

    given.assign(given.size(), 'x');

    EXPECT_EQ("un", textIn(*registry.getCatalog("fr"), 0x01000000));
}

// --- one language ---

TEST_F(Registry, LanguageSharesItsFilesWithTheOneAssignedFromIt) {
    const int before = openFds();
    {
        CInterCatalog::CInter copy;
        {
            CInterCatalog::CInter english("en");
            CTab<CStr> paths;
            paths.append(dir.file("nowhere").c_str());
            paths.append(writeText("a.cat", 1, "one").c_str());
            EXPECT_EQ(0, english.open(paths));
            copy = english;
        }
        EXPECT_STREQ("en", copy.getName().get());
        EXPECT_EQ("one", textIn(copy.getCatalog(), 0x01000000));
    }

    EXPECT_EQ(before, openFds());
}

// --- descriptors ---

TEST_F(Registry, ClosedLeavesNothingOpen) {
    writeText("en/a.cat", 1, "one");
    writeText("en/b.cat", 2, "two");
    writeText("fr/a.cat", 1, "un");
    write("fr/b.cat", "nothing of the kind");
    const int before = openFds();
    xcat_registry* const texts = xcat_create("en");
    xcat_add_catalogs(texts, pattern().c_str());
    xcat_get_catalog(texts, "fr");
    xcat_get_catalog(texts, "de");
    EXPECT_EQ(before + 3, openFds());

    xcat_close(texts);

    EXPECT_EQ(before, openFds());
}

TEST_F(Registry, AReplacedFileStaysOpenAfterItIsClosed) {
    const std::string earlier = writeText("en/a.cat", 3, "earlier");
    const std::string later = writeText("later.cat", 3, "later");
    const int before = openFds();
    xcat_registry* const texts = xcat_create("en");
    xcat_add_catalogs(texts, pattern().c_str());
    xcat_catalog* const english = xcat_get_catalog(texts, "en");
    FILE* const replaced = english->getFiles()[3].getStream();
    ASSERT_EQ(0, xcat_open_file(english, later.c_str()));
    EXPECT_EQ(before + 2, openFds());

    xcat_close(texts);

    EXPECT_EQ(before + 1, openFds());
    EXPECT_TRUE(
        std::filesystem::equivalent(earlier, "/proc/self/fd/" + std::to_string(fileno(replaced))));
    fclose(replaced);
}

TEST_F(Registry, ClosedIgnoresNull) {
    xcat_close(nullptr);
}

}  // namespace
