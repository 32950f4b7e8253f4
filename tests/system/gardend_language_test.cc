// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// In which language gardend answers, and what it makes of catalogs, good and damaged ones.

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "zol/cat.h"

#include "accept_language.h"
#include "languages.h"
#include "support/catalog_bytes.h"
#include "support/temp_dir.h"

namespace gardend {

namespace {

using ::testing::ContainsRegex;
using ::testing::Not;

int quality(const std::string& list, const char* language = "de") {
    return findWish(list.c_str(), language).quality;
}

TEST(AcceptLanguage, WantsWhatItNames) {
    EXPECT_EQ(1000, quality("de"));
    EXPECT_EQ(1000, quality("fr, de"));
    EXPECT_EQ(0, quality("fr"));
    EXPECT_EQ(0, quality(""));
}

TEST(AcceptLanguage, NamesInAnyCaseAndWithBlanks) {
    EXPECT_EQ(1000, quality("DE"));
    EXPECT_EQ(1000, quality(" \tfr ,\t dE \t"));
    EXPECT_EQ(500, quality("de \t; \tQ=0.5 , fr"));
}

TEST(AcceptLanguage, WeighsFromZeroToOne) {
    EXPECT_EQ(1000, quality("de;q=1"));
    EXPECT_EQ(1000, quality("de;q=1."));
    EXPECT_EQ(1000, quality("de;q=1.000"));
    EXPECT_EQ(800, quality("de;q=0.8"));
    EXPECT_EQ(850, quality("de;q=0.85"));
    EXPECT_EQ(1, quality("de;q=0.001"));
    EXPECT_EQ(0, quality("de;q=0."));
}

TEST(AcceptLanguage, CountsForNothingWhereTheWeightIsMalformed) {
    for (const char* weight :
         {"", "q", "q=", "q=2", "q=1.1", "q=1.001", "q=0.0001", "q=-1", "q=+1", "q=.5", "q=0.5x",
          "q=0x1", "q =0.5", "q= 0.5", "q=00", "level=1", "q=0.5;q=0.6", "\xff", "q=\xd9\xa1"}) {
        EXPECT_EQ(0, quality(std::string("de;") + weight)) << weight;
        EXPECT_EQ(300, quality(std::string("de;") + weight + ", de;q=0.3")) << weight;
    }
}

TEST(AcceptLanguage, MeansTheLanguageByItsVariety) {
    EXPECT_EQ(1000, quality("de-AT"));
    EXPECT_EQ(1000, quality("de-Latn-AT-1996, en;q=0.9"));
    EXPECT_EQ(1000, quality("de;q=0.5, de-AT"));
    EXPECT_EQ(0, quality("den"));
    EXPECT_EQ(0, quality("d"));
    EXPECT_EQ(0, quality("fr-de"));
    EXPECT_EQ(0, quality("de_AT"));
}

TEST(AcceptLanguage, RefusesWithZero) {
    EXPECT_EQ(0, quality("de;q=0"));
    EXPECT_EQ(0, quality("de;q=0.000, *"));
    EXPECT_EQ(0, quality("de-AT, de;q=0"));
}

TEST(AcceptLanguage, DoesNotRefuseTheLanguageWithAVariety) {
    EXPECT_EQ(1000, quality("de-AT;q=0, de"));
    EXPECT_EQ(100, quality("de-AT;q=0, *;q=0.1"));
}

TEST(AcceptLanguage, TakesAnythingForWhatIsNotNamed) {
    EXPECT_EQ(1000, quality("*"));
    EXPECT_EQ(200, quality("fr, *;q=0.2"));
    EXPECT_EQ(100, quality("de;q=0.1, *"));
    EXPECT_EQ(0, quality("*;q=0"));
}

TEST(AcceptLanguage, TellsWhichCameFirst) {
    EXPECT_EQ(1, findWish("fr,de", "fr").position);
    EXPECT_EQ(2, findWish("fr,de", "de").position);
    EXPECT_EQ(3, findWish("de;q=0.1,,de", "de").position);
    EXPECT_EQ(2, findWish("fr,*", "de").position);
}

TEST(AcceptLanguage, IsHarmlessWhateverItIs) {
    for (const char* list : {",", ",,,", ";", ";;", ";q=1", " ", "*;", "-", "de-", "*-de", "de,,",
                             "../../etc/passwd", "%s%n", "*?[", "\x80\xff", "de;q=0.5.5"}) {
        (void)findWish(list, "de");
    }
    std::string many = "de;q=0.5";
    for (int i = 0; i < 10000; ++i) {
        many += ",fr-" + std::to_string(i) + ";q=0.9";
    }
    EXPECT_EQ(500, quality(many));
    EXPECT_EQ(900, quality(many, "fr"));
    EXPECT_EQ(0, quality(std::string(1000000, 'd')));
    EXPECT_EQ(0, quality(std::string(1000000, ',')));
}

std::string filled(const char* text, std::initializer_list<Value> values) {
    CText out;
    out.addFilled(text, values);
    EXPECT_TRUE(out.isWhole());
    return out.get();
}

TEST(FilledText, HasItsValuesInTheirPlaces) {
    EXPECT_EQ("2 of 4 valves", filled("%1$s of %2$s valves", {"2", "4"}));
    EXPECT_EQ("4: 2, 2", filled("%2$s: %1$s, %1$s", {"2", "4"}));
    EXPECT_EQ("50 %", filled("%1$s %%", {"50"}));
}

TEST(FilledText, IsNeverAFormat) {
    for (const char* text : {"%s", "%n", "%1$n", "%2$s", "%0$s", "%9$s", "%1$", "%1", "%", "%12$s",
                             "%-1$s", "100 % sure", "%1$d", "%*s"}) {
        EXPECT_EQ(text, filled(text, {"value"}));
    }
    EXPECT_EQ("%1$s", filled("%1$s", {}));
    EXPECT_EQ("%1$s", filled("%%1$s", {"value"}));
    EXPECT_EQ("%2$s%", filled("%1$s%%", {"%2$s", "value"}));
}

TEST(FilledText, IsNotWholeWhereAValueIsNot) {
    Value lost("");
    lost.whole = false;

    CText out;
    out.addFilled("%1$s", {lost});

    EXPECT_FALSE(out.isWhole());
}

TEST(Line, IsUtf8OfAllLengths) {
    for (const char* text : {"", "a", "\xc3\xa9", "\xe2\x80\xaf", "\xf0\x9f\x8c\xb1", "\xc2\xa0",
                             "\xee\x80\x80", "\xf4\x8f\xbf\xbf", "l\xc3\xa0 \xe2\x82\xac ~"}) {
        EXPECT_TRUE(isLine(text)) << text;
    }
}

TEST(Line, IsNothingThatIsNotUtf8) {
    for (const char* text :
         {"\xff", "\x80", "\xbf", "\xe9t\xe9", "\xc3", "\xe2\x80", "\xf0\x9f\x8c", "\xc3\xc3\xa9",
          "\xc1\x81", "\xe0\x9f\xbf", "\xf0\x8f\xbf\xbf", "\xed\xa0\x80", "\xf4\x90\x80\x80",
          "\xf8\x90\x80\x80\x80", "\xfe\x90\x80\x80"}) {
        EXPECT_FALSE(isLine(text)) << text;
    }
}

TEST(Line, HasNoControlCharacters) {
    for (const char* text : {"a\n", "\r", "a\tb", "\x1b[2J", "\x7f", "\xc2\x80", "\xc2\x9b\x32J",
                             "a\xc2\x85", "\xc2\x9f"}) {
        EXPECT_FALSE(isLine(text)) << text;
    }
}

TEST(DecimalNumber, HasAPoint) {
    EXPECT_STREQ("1.234", makeDecimal(1234, 3).get());
    EXPECT_STREQ("0,05", makeDecimal(5, 2, ",").get());
    EXPECT_STREQ("9223372036854775.807", makeDecimal(INT64_MAX, 3).get());
    EXPECT_EQ(39U, std::string(makeDecimal(1, 1, std::string(100, 'x').c_str()).get()).size());
}

class Languages : public ::testing::Test {
  protected:
    // Writes a catalog for a language: by its message 1 of set 1 it says which one it is.
    void write(const std::string& language, const std::string& bytes) {
        std::filesystem::create_directories(m_folder.file(language));
        std::ofstream(m_folder.file(language) + "/gardend.cat", std::ios::binary) << bytes;
    }

    static std::string catalog(const std::string& language, const std::string& title,
                               const std::string& point = ",") {
        return CatalogBytes(1, "gardend",
                            {SetBytes(1, "language", {"", language, point}),
                             SetBytes(2, "page", {"", title})})
            .bytes();
    }

    CLanguages languages() { return CLanguages((m_folder.path() + "/%s/gardend.cat").c_str()); }

    std::string chosen(const char* wishes) {
        const CLanguages all = languages();
        return all.choose(wishes).getLanguage();
    }

    std::string title(const char* wishes) {
        const CLanguages all = languages();
        CText text;
        all.choose(wishes).add(text, GARDEND_TITLE);
        return text.get();
    }

    TempDir m_folder;
};

TEST_F(Languages, AreChosenByTheWishes) {
    write("en", catalog("en", "Garden"));
    write("fr", catalog("fr", "Jardin"));
    write("de", catalog("de", "Garten"));

    EXPECT_EQ("de", chosen("de"));
    EXPECT_EQ("de", chosen("de-AT,de;q=0.9,en;q=0.8"));
    EXPECT_EQ("fr", chosen("fr-CH, de;q=0.7"));
    EXPECT_EQ("de", chosen("fr;q=0.6, de;q=0.7"));
    EXPECT_EQ("fr", chosen("ja, fr;q=0.1"));
    EXPECT_EQ("en", chosen("en;q=0.9, de;q=0.8"));
    EXPECT_EQ("Garten", title("de"));
    EXPECT_EQ("Jardin", title("fr"));
}

TEST_F(Languages, ThatAreWantedAlikeGoByTheirOrder) {
    write("fr", catalog("fr", "Jardin"));
    write("de", catalog("de", "Garten"));

    EXPECT_EQ("de", chosen("de, fr, en"));
    EXPECT_EQ("fr", chosen("fr, de, en"));
    EXPECT_EQ("en", chosen("*"));
    EXPECT_EQ("fr", chosen("en;q=0, *"));
    EXPECT_EQ("de", chosen("en;q=0, fr;q=0, *"));
}

TEST_F(Languages, AreEnglishWhereNothingElseIsWanted) {
    write("de", catalog("de", "Garten"));

    for (const char* wishes : {"", "ja", "*;q=0", "de;q=0", "en;q=0", "../de", "d*", "%s"}) {
        EXPECT_EQ("en", chosen(wishes)) << wishes;
    }
}

TEST_F(Languages, GoWithoutTheOneThatHasNoCatalog) {
    write("en", catalog("en", "Garden"));
    write("de", catalog("de", "Garten"));

    EXPECT_EQ("de", chosen("fr, de;q=0.5"));
    EXPECT_EQ("en", chosen("fr"));
    EXPECT_EQ("Garden", title("fr"));
}

TEST_F(Languages, AreEnglishWithoutAnyCatalog) {
    EXPECT_EQ("en", chosen("de, fr"));
    EXPECT_EQ("The garden", title("de"));
    EXPECT_FALSE(languages().hasDefault());
}

TEST_F(Languages, ComeFromTheCatalogOfEnglishToo) {
    write("en", catalog("en", "My garden"));

    EXPECT_EQ("My garden", title(""));
    EXPECT_TRUE(languages().hasDefault());
}

TEST_F(Languages, AreLoadedBeforeTheyAreAskedFor) {
    write("fr", catalog("fr", "Jardin"));
    write("de", catalog("de", "Garten"));
    const CLanguages all = languages();
    std::filesystem::remove_all(m_folder.file("fr"));
    std::filesystem::remove_all(m_folder.file("de"));
    write("en", catalog("en", "Garden"));
    CText titles;

    all.choose("de").add(titles, GARDEND_TITLE);
    all.choose("fr").add(titles, GARDEND_TITLE);
    all.choose("en").add(titles, GARDEND_TITLE);

    EXPECT_STREQ("GartenJardinThe garden", titles.get());
}

TEST_F(Languages, StayGoodWhileOthersAreChosen) {
    write("fr", catalog("fr", "Jardin"));
    write("de", catalog("de", "Garten"));
    const CLanguages all = languages();
    const CPhrases german = all.choose("de");
    CText titles;

    all.choose("fr").add(titles, GARDEND_TITLE);
    german.add(titles, GARDEND_TITLE);

    EXPECT_STREQ("JardinGarten", titles.get());
}

TEST_F(Languages, TakeNoCatalogOfAnotherLanguage) {
    write("en", catalog("fr", "Jardin"));
    write("de", catalog("fr", "Jardin"));

    EXPECT_EQ("en", chosen("de"));
    EXPECT_EQ("The garden", title("de"));
}

TEST_F(Languages, SayInEnglishWhatTheCatalogDoesNotHave) {
    write("de", catalog("de", ""));

    EXPECT_EQ("de", chosen("de"));
    EXPECT_EQ("The garden", title("de"));
}

TEST_F(Languages, SayInEnglishWhatWouldEndTheLine) {
    for (const char* text :
         {"Garten\nOK", "Garten\r", "\x1b[2J", "\x7f", "a\tb", "\xc2\x9b\x32J"}) {
        write("de", catalog("de", text));
        EXPECT_EQ("The garden", title("de")) << text;
    }
}

TEST_F(Languages, SayInEnglishWhatIsNotUtf8) {
    write("de", catalog("de", "G\xe4rten"));

    EXPECT_EQ("The garden", title("de"));
}

TEST_F(Languages, TakeTextsAsTheyAre) {
    write("de", catalog("de", "%n%s <b>\u00e4"));

    EXPECT_EQ("%n%s <b>\u00e4", title("de"));
}

TEST_F(Languages, SurviveACatalogThatIsCutOffAnywhere) {
    const std::string whole = catalog("de", "Garten");
    for (size_t size = 0; size < whole.size(); ++size) {
        write("de", whole.substr(0, size));
        EXPECT_EQ("The garden", title("de")) << size;
    }
}

TEST_F(Languages, SurviveACatalogWithAnyDamagedByte) {
    const std::string whole = catalog("de", "Garten");
    for (size_t at = 0; at < whole.size(); ++at) {
        for (const char damage : {'\0', '\x01', '\x7f', '\xff'}) {
            std::string bytes = whole;
            bytes[at] = damage;
            write("de", bytes);
            EXPECT_FALSE(title("de").empty()) << at;
        }
    }
}

TEST_F(Languages, UseTheDecimalPointOfTheirs) {
    write("de", catalog("de", "Garten"));
    const CLanguages all = languages();

    EXPECT_STREQ("1,234", all.choose("de").decimal(1234, 3).get());
    EXPECT_STREQ("1.234", all.choose("").decimal(1234, 3).get());
}

TEST_F(Languages, UseAPointWhereTheirsIsTooLongForOne) {
    write("de", catalog("de", "Garten", "\u00b7\u00b7"));
    write("fr", catalog("fr", "Jardin", "point"));
    const CLanguages all = languages();

    EXPECT_STREQ("1\u00b7\u00b7234", all.choose("de").decimal(1234, 3).get());
    EXPECT_STREQ("1.234", all.choose("fr").decimal(1234, 3).get());
}

struct Message {
    unsigned id;
    const char* english;
};

constexpr Message kMessages[] = {
#include "gardend_english.inc"
};

constexpr const char* kTranslations[] = {"en", "fr", "de"};

std::string said(const CPhrases& phrases, unsigned id) {
    CText text;
    phrases.add(text, id, {"ONE", "TWO", "THREE"});
    return text.get();
}

TEST(Catalogs, ThatBelongToGardendSayEverythingInEachLanguage) {
    const CLanguages languages(GARDEND_CATALOGS);
    zol::cat::CInterCatalog catalogs("en", GARDEND_CATALOGS);
    for (const char* language : kTranslations) {
        const CPhrases phrases = languages.choose(language);
        EXPECT_STREQ(language, phrases.getLanguage());
        for (const Message& message : kMessages) {
            zol::CStr text;
            EXPECT_EQ(0, catalogs.getCatalog(language)->getMessage(message.id, text))
                << language << ": " << message.english;
            EXPECT_EQ(filled(text.get(), {"ONE", "TWO", "THREE"}), said(phrases, message.id));
        }
    }
}

// zolcat(1) takes a text for a format of printf(3), which knows "%s" and "%1$-3s" as well.
TEST(Catalogs, ThatBelongToGardendHaveNoPlacesButThoseThatAreFilled) {
    const CLanguages languages(GARDEND_CATALOGS);
    for (const char* language : kTranslations) {
        const CPhrases phrases = languages.choose(language);
        for (const Message& message : kMessages) {
            const std::string text = said(phrases, message.id);
            EXPECT_THAT(text, Not(ContainsRegex("%[^ ]"))) << language;
        }
    }
}

TEST(Catalogs, ThatBelongToGardendDoNotShowARunTimeAsATimeOfTheDay) {
    const CLanguages languages(GARDEND_CATALOGS);
    CText texts;

    languages.choose("de").add(texts, GARDEND_OPEN_FOR, {"20:00"});
    texts.add("; ");
    languages.choose("fr").add(texts, GARDEND_OPEN_FOR, {"20:00"});

    EXPECT_STREQ("offen, noch 20:00\u00a0min; ouverte, encore 20:00\u00a0min", texts.get());
}

TEST(Catalogs, ThatBelongToGardendHaveTheEnglishOfTheProgram) {
    const CLanguages languages(GARDEND_CATALOGS);
    const CLanguages none("");
    for (unsigned set = 1; set <= 6; ++set) {
        for (unsigned number = 0; number <= 20; ++number) {
            const unsigned id = 1U << 24 | set << 16 | number;
            CText read;
            CText compiled;
            languages.choose("en").add(read, id);
            none.choose("en").add(compiled, id);
            EXPECT_STREQ(read.get(), compiled.get()) << set << " " << number;
        }
    }
    CText title;
    none.choose("en").add(title, GARDEND_TITLE);
    EXPECT_STREQ("The garden", title.get());
}

}  // namespace

}  // namespace gardend
