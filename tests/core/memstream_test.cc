// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <string>

#include "zol/buffer.h"

#include "support/owned_str.h"

namespace {

// A stream on a string, and another one on a buffer with the same bytes: they do the same.
class MemStream : public ::testing::TestWithParam<bool> {
  protected:
    ~MemStream() override {
        close();
        xsbuf_free(&m_buffer);
    }

    void set(const std::string& bytes) {
        xstr_set(m_str, bytes.data(), static_cast<int>(bytes.size()));
        xbuffer_set(&m_buffer, bytes.data(), static_cast<int>(bytes.size()));
    }

    // Opens the stream over these bytes.
    void open(const std::string& bytes, const char* mode) {
        set(bytes);
        stream = isString() ? xstr_fopen(m_str, mode) : xbuffer_fopen(&m_buffer, mode);
        ASSERT_NE(nullptr, stream);
    }

    void close() {
        if (stream != nullptr) {
            EXPECT_EQ(0, fclose(stream));
            stream = nullptr;
        }
    }

    bool isString() const { return GetParam(); }

    std::string target() {
        if (isString()) {
            EXPECT_EQ('\0', m_str.h[m_str.length()]);
            return std::string(m_str.h, static_cast<size_t>(m_str.length()));
        }
        return m_buffer == nullptr ? ""
                                   : std::string(static_cast<char*>(m_buffer),
                                                 static_cast<size_t>(xtab_get_count(&m_buffer)));
    }

    // What is read up to the end.
    std::string rest() {
        std::string all;
        for (int character = fgetc(stream); character != EOF; character = fgetc(stream)) {
            all += static_cast<char>(character);
        }
        EXPECT_EQ(0, ferror(stream));
        return all;
    }

    std::string read(size_t count) {
        std::string bytes(count, '#');
        bytes.resize(fread(&bytes[0], 1, count, stream));
        return bytes;
    }

    OwnedStr m_str;
    xbuffer m_buffer = nullptr;
    FILE* stream = nullptr;
};

INSTANTIATE_TEST_SUITE_P(On, MemStream, ::testing::Values(true, false),
                         [](const auto& target) { return target.param ? "String" : "Buffer"; });

// --- modes ---

TEST_P(MemStream, TakesSixModesAndNoOthers) {
    for (const char* const mode : {"r", "w", "a", "r+", "w+", "a+"}) {
        open("abc", mode);
        close();
    }
    for (const char* const mode :
         {"", "x", "rb", "r+b", "w+b", "ab", "rw", "r++", "+", "R", " r", "r ", "wx", "ae"}) {
        errno = 0;
        EXPECT_EQ(nullptr, xstr_fopen(m_str, mode)) << mode;
        EXPECT_EQ(EINVAL, errno) << mode;
        errno = 0;
        EXPECT_EQ(nullptr, xbuffer_fopen(&m_buffer, mode)) << mode;
        EXPECT_EQ(EINVAL, errno) << mode;
    }
}

TEST_P(MemStream, ThatIsRefusedLeavesTheTarget) {
    set("abc");

    EXPECT_EQ(nullptr, xstr_fopen(m_str, "wb"));
    EXPECT_EQ(nullptr, xbuffer_fopen(&m_buffer, "wb"));

    EXPECT_EQ("abc", target());
}

TEST_P(MemStream, ForReadingReads) {
    open("abc", "r");

    EXPECT_EQ("abc", rest());
    EXPECT_NE(0, feof(stream));
}

TEST_P(MemStream, ForReadingDoesNotWrite) {
    open("abc", "r");

    EXPECT_EQ(EOF, fputs("d", stream));
    close();

    EXPECT_EQ("abc", target());
}

TEST_P(MemStream, ForWritingStartsEmpty) {
    open("abc", "w");
    EXPECT_EQ("", target());

    EXPECT_GE(fputs("de", stream), 0);
    close();

    EXPECT_EQ("de", target());
}

TEST_P(MemStream, ForWritingDoesNotRead) {
    open("abc", "w");

    EXPECT_EQ(EOF, fgetc(stream));
    EXPECT_NE(0, ferror(stream));
}

TEST_P(MemStream, ForWritingThatWritesNothingLeavesNothing) {
    open("abc", "w");
    close();

    EXPECT_EQ("", target());
    if (isString()) {
        EXPECT_EQ(xstr_null, m_str.h);
    } else {
        EXPECT_EQ(nullptr, m_buffer);
    }
}

TEST_P(MemStream, ForAppendingReadsFromTheStart) {
    open("abc", "a");

    EXPECT_EQ("abc", rest());
}

TEST_P(MemStream, ForAppendingAppends) {
    open("abc", "a");

    fputs("d", stream);
    close();

    EXPECT_EQ("abcd", target());
}

TEST_P(MemStream, OfAllModesWithPlusReadsAndWrites) {
    for (const char* const mode : {"r+", "a+"}) {
        open("abc", mode);
        EXPECT_EQ("abc", rest()) << mode;
        ASSERT_EQ(0, fseek(stream, 0, SEEK_CUR));
        fputs("def", stream);
        rewind(stream);
        EXPECT_EQ("abcdef", rest()) << mode;
        close();
    }
    open("abc", "w+");
    EXPECT_EQ("", rest());
    ASSERT_EQ(0, fseek(stream, 0, SEEK_CUR));
    fputs("def", stream);
    rewind(stream);
    EXPECT_EQ("def", rest());
}

TEST_P(MemStream, WritesAtTheEndWhereverItStands) {
    open("abcdef", "r+");

    ASSERT_EQ(0, fseek(stream, 1, SEEK_SET));
    fputs("X", stream);
    ASSERT_EQ(0, fseek(stream, 0, SEEK_SET));
    fputs("Y", stream);
    close();

    EXPECT_EQ("abcdefXY", target());
}

TEST_P(MemStream, DoesNotMoveTheReadPositionByWriting) {
    open("abcdef", "r+");
    setvbuf(stream, nullptr, _IONBF, 0);

    EXPECT_EQ("ab", read(2));
    ASSERT_EQ(0, fseek(stream, 0, SEEK_CUR));
    fputs("XY", stream);
    ASSERT_EQ(0, fflush(stream));
    ASSERT_EQ(0, fseek(stream, 0, SEEK_CUR));

    EXPECT_EQ("cdefXY", rest());
}

TEST_P(MemStream, ReadsAnEmptyTarget) {
    open("", "r");

    EXPECT_EQ(EOF, fgetc(stream));
    EXPECT_NE(0, feof(stream));
    EXPECT_EQ(0, ferror(stream));
}

TEST_P(MemStream, WritesIntoAnEmptyTarget) {
    open("", "a+");

    fputs("abc", stream);
    rewind(stream);

    EXPECT_EQ("abc", rest());
    EXPECT_EQ("abc", target());
}

TEST_P(MemStream, KeepsNuls) {
    open(std::string("a\0b", 3), "a+");

    EXPECT_EQ(std::string("a\0b", 3), rest());
    ASSERT_EQ(0, fseek(stream, 0, SEEK_END));
    EXPECT_EQ(2U, fwrite("\0c", 1, 2, stream));
    close();

    EXPECT_EQ(std::string("a\0b\0c", 5), target());
}

TEST_P(MemStream, LeavesOtherHoldersTheirBytes) {
    set("abc");
    OwnedStr otherStr;
    xbuffer otherBuffer = nullptr;
    xstr_copy(otherStr, m_str);
    xsbuf_copy(&otherBuffer, &m_buffer);
    stream = isString() ? xstr_fopen(m_str, "a") : xbuffer_fopen(&m_buffer, "a");

    fputs("def", stream);
    close();

    EXPECT_EQ("abcdef", target());
    EXPECT_STREQ("abc", otherStr.h);
    EXPECT_EQ(0, memcmp("abc", otherBuffer, 3));
    EXPECT_EQ(3, xtab_get_count(&otherBuffer));
    xsbuf_free(&otherBuffer);
}

TEST_P(MemStream, ForWritingLeavesOtherHoldersTheirBytes) {
    set("abc");
    OwnedStr otherStr;
    xstr_copy(otherStr, m_str);
    stream = isString() ? xstr_fopen(m_str, "w") : xbuffer_fopen(&m_buffer, "w");
    close();

    EXPECT_EQ("", target());
    EXPECT_STREQ("abc", otherStr.h);
}

TEST_P(MemStream, LeavesItsTargetWhenItIsClosed) {
    open("abc", "r");
    EXPECT_EQ("ab", read(2));
    close();

    EXPECT_EQ("abc", target());
}

// --- seeking ---

TEST_P(MemStream, SeeksFromTheStartThePositionAndTheEnd) {
    open("0123456789", "r");

    EXPECT_EQ(0, fseek(stream, 4, SEEK_SET));
    EXPECT_EQ("45", read(2));
    EXPECT_EQ(0, fseek(stream, 2, SEEK_CUR));
    EXPECT_EQ("8", read(1));
    EXPECT_EQ(0, fseek(stream, -3, SEEK_CUR));
    EXPECT_EQ("6", read(1));
    EXPECT_EQ(0, fseek(stream, -1, SEEK_END));
    EXPECT_EQ("9", rest());
    EXPECT_EQ(0, fseek(stream, 0, SEEK_END));
    EXPECT_EQ("", rest());
}

TEST_P(MemStream, SeeksToTheSizeAndNotBeyondIt) {
    open("abc", "r");

    EXPECT_EQ(0, fseek(stream, 3, SEEK_SET));
    EXPECT_EQ(3, ftell(stream));
    for (const long beyond : {4L, 5L, 1000000L}) {
        errno = 0;
        EXPECT_EQ(-1, fseek(stream, beyond, SEEK_SET)) << beyond;
        EXPECT_EQ(EINVAL, errno) << beyond;
    }
    errno = 0;
    EXPECT_EQ(-1, fseek(stream, 1, SEEK_END));
    EXPECT_EQ(EINVAL, errno);
}

TEST_P(MemStream, DoesNotSeekBeforeTheStart) {
    open("abc", "r");

    errno = 0;
    EXPECT_EQ(-1, fseek(stream, -1, SEEK_SET));
    EXPECT_EQ(EINVAL, errno);
    errno = 0;
    EXPECT_EQ(-1, fseek(stream, -4, SEEK_END));
    EXPECT_EQ(EINVAL, errno);
    errno = 0;
    EXPECT_EQ(-1, fseek(stream, -1, SEEK_CUR));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ("abc", rest());
}

TEST_P(MemStream, StaysWhereItWasWhenSeekingFails) {
    open("abcdef", "r");
    EXPECT_EQ("ab", read(2));

    EXPECT_EQ(-1, fseek(stream, 100, SEEK_SET));

    EXPECT_EQ(2, ftell(stream));
    EXPECT_EQ("cdef", rest());
}

TEST_P(MemStream, TellsItsPosition) {
    open("0123456789", "r");

    EXPECT_EQ(0, ftell(stream));
    EXPECT_EQ("012", read(3));
    EXPECT_EQ(3, ftell(stream));
    EXPECT_EQ(0, fseek(stream, 0, SEEK_END));
    EXPECT_EQ(10, ftell(stream));
    rewind(stream);
    EXPECT_EQ(0, ftell(stream));
    EXPECT_EQ("0123456789", rest());
    EXPECT_EQ(10, ftell(stream));
}

TEST_P(MemStream, TellsTheEndAfterWriting) {
    open("abc", "a+");

    fputs("defg", stream);

#ifdef __GLIBC__  // others do not know of a custom stream that it writes to the end
    EXPECT_EQ(7, ftell(stream));
#endif
    EXPECT_EQ(0, fseek(stream, 0, SEEK_END));
    EXPECT_EQ(7, ftell(stream));
}

TEST_P(MemStream, TellsHowMuchHasBeenWritten) {
    open("abc", "w");

    EXPECT_EQ(0, ftell(stream));
    fputs("defg", stream);
    EXPECT_EQ(4, ftell(stream));
    fflush(stream);
    fputs("h", stream);
    EXPECT_EQ(5, ftell(stream));
}

TEST_P(MemStream, TellsHowMuchHasBeenWrittenAfterAFlush) {
    open("abc", "w");

    fputs("defg", stream);
    fflush(stream);

    EXPECT_EQ(4, ftell(stream));
    EXPECT_EQ(0, fseek(stream, 1, SEEK_SET));
    EXPECT_EQ(1, ftell(stream));
    fputs("h", stream);
    fflush(stream);
    EXPECT_EQ(5, ftell(stream));
    EXPECT_EQ("defgh", target());
}

TEST_P(MemStream, SeeksInWhatHasJustBeenWritten) {
    open("", "w+");

    fputs("0123456789", stream);
    ASSERT_EQ(0, fseek(stream, 7, SEEK_SET));
    EXPECT_EQ("789", rest());
    ASSERT_EQ(0, fseek(stream, -10, SEEK_CUR));
    EXPECT_EQ("012", read(3));
}

// --- the layer above ---

TEST_P(MemStream, PrintsLongTexts) {
    open("", "w");
    const std::string longText(100000, 'x');

    EXPECT_EQ(100006, fprintf(stream, "<%s|%d>", longText.c_str(), 123));
    close();

    EXPECT_TRUE("<" + longText + "|123>" == target());
}

TEST_P(MemStream, PrintsManyShortTexts) {
    open("", "w");
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        fprintf(stream, "%d,", i);
        expected += std::to_string(i) + ",";
    }
    close();

    EXPECT_TRUE(expected == target());
}

TEST_P(MemStream, ReadsMoreThanTheLayersBuffer) {
    std::string bytes;
    for (int i = 0; i < 20000; ++i) {
        bytes += static_cast<char>('a' + i % 26);
    }
    open(bytes, "r");

    EXPECT_TRUE(bytes == rest());
    ASSERT_EQ(0, fseek(stream, 9999, SEEK_SET));
    EXPECT_TRUE(bytes.substr(9999, 5000) == read(5000));
    EXPECT_EQ(14999, ftell(stream));
    ASSERT_EQ(0, fseek(stream, 3, SEEK_SET));
    EXPECT_TRUE(bytes.substr(3) == rest());
}

TEST_P(MemStream, PushesCharactersBack) {
    open("abc", "r");

    EXPECT_EQ('a', fgetc(stream));
    EXPECT_EQ('X', ungetc('X', stream));
    EXPECT_EQ(0, ftell(stream));
    EXPECT_EQ("Xbc", rest());
    EXPECT_EQ("abc", target());
}

TEST_P(MemStream, PushesACharacterBackAtTheEnd) {
    open("abc", "r");
    EXPECT_EQ("abc", rest());

    EXPECT_EQ('c', ungetc('c', stream));

    EXPECT_EQ(0, feof(stream));
    EXPECT_EQ("c", rest());
}

TEST_P(MemStream, ReadsLines) {
    open("one\ntwo\n\nfour", "r");
    char* line = nullptr;
    size_t room = 0;

    EXPECT_EQ(4, getline(&line, &room, stream));
    EXPECT_STREQ("one\n", line);
    EXPECT_EQ(4, getline(&line, &room, stream));
    EXPECT_EQ(1, getline(&line, &room, stream));
    EXPECT_EQ(4, getline(&line, &room, stream));
    EXPECT_STREQ("four", line);
    EXPECT_EQ(-1, getline(&line, &room, stream));
    free(line);
}

TEST_P(MemStream, ReadsALineLongerThanTheLayersBuffer) {
    const std::string longLine(10000, 'x');
    open(longLine + "\nrest", "r");
    char* line = nullptr;
    size_t room = 0;

    EXPECT_EQ(10001, getline(&line, &room, stream));
    EXPECT_EQ("rest", rest());
    free(line);
}

TEST_P(MemStream, ScansNumbers) {
    open("zone 4: 30 %", "r");
    int zone = 0;
    int percent = 0;

    EXPECT_EQ(2, fscanf(stream, "zone %d: %d", &zone, &percent));

    EXPECT_EQ(4, zone);
    EXPECT_EQ(30, percent);
    EXPECT_EQ(" %", rest());
}

TEST_P(MemStream, ReadsWithoutABuffer) {
    open("abcdef", "r");
    setvbuf(stream, nullptr, _IONBF, 0);

    EXPECT_EQ("ab", read(2));
    EXPECT_EQ(2, ftell(stream));
    EXPECT_EQ(0, fseek(stream, 1, SEEK_CUR));
    EXPECT_EQ("def", rest());
}

TEST_P(MemStream, WritesWithoutABufferAtOnce) {
    open("", "w");
    setvbuf(stream, nullptr, _IONBF, 0);

    fputc('a', stream);
    EXPECT_EQ("a", target());
    fputs("bc", stream);
    EXPECT_EQ("abc", target());
}

TEST_P(MemStream, WritesLineByLineWhenToldTo) {
    open("", "w");
    char buffer[100];
    setvbuf(stream, buffer, _IOLBF, sizeof buffer);

    fputs("one line\n", stream);
    EXPECT_EQ("one line\n", target());
    close();
}

TEST_P(MemStream, TakesABufferOfTheCallers) {
    open("0123456789", "r+");
    char buffer[3];
    setvbuf(stream, buffer, _IOFBF, sizeof buffer);

    EXPECT_EQ("01234", read(5));
    ASSERT_EQ(0, fseek(stream, 0, SEEK_END));
    fputs("abcdefg", stream);
    ASSERT_EQ(0, fseek(stream, 8, SEEK_SET));
    EXPECT_EQ("89abcdefg", rest());
    close();
}

TEST_P(MemStream, FlushesWhatIsWritten) {
    open("abc", "a");

    fputs("def", stream);
    EXPECT_EQ("abc", target());
    EXPECT_EQ(0, fflush(stream));
    EXPECT_EQ("abcdef", target());
}

TEST_P(MemStream, HasNoDescriptor) {
    open("abc", "r");

    EXPECT_EQ(-1, fileno(stream));
}

// --- a target that others change ---

TEST_P(MemStream, DoesNotReadBehindATargetThatHasBecomeShorter) {
    open(std::string(3000, 'x'), "r");
    setvbuf(stream, nullptr, _IONBF, 0);
    EXPECT_EQ("xx", read(2));

    set("abcde");

    EXPECT_EQ("cde", rest());
}

TEST_P(MemStream, DoesNotReadATargetThatHasBecomeEmpty) {
    open("abc", "r");

    set("");

    EXPECT_EQ("", rest());
}

TEST_P(MemStream, ReadsATargetThatHasBecomeLongerUpToTheSizeThatItKnew) {
    open("abc", "r");

    set("abcdef");

    EXPECT_EQ("abc", rest());
}

TEST_P(MemStream, WritesAtTheEndOfATargetThatHasBecomeShorter) {
    open("abcdef", "a");

    set("ab");
    fputs("X", stream);
    close();

    EXPECT_EQ("abX", target());
}

TEST_P(MemStream, WritesIntoATargetThatHasBecomeEmpty) {
    open("abcdef", "a");

    set("");
    fputs("X", stream);
    close();

    EXPECT_EQ("X", target());
}

TEST_P(MemStream, WritesAtTheSizeThatItKnewIntoATargetThatHasBecomeLonger) {
    open("abc", "a+");

    set("abcdef");
    fputs("X", stream);
    rewind(stream);

    EXPECT_EQ("abcXdef", target());
    EXPECT_EQ("abcXdef", rest());
}

// --- constant texts ---

TEST(TextStream, ReadsTheText) {
    FILE* const stream = xstr_fopen_cstr("one\ntwo", "r");
    char line[20];

    EXPECT_NE(nullptr, fgets(line, sizeof line, stream));
    EXPECT_STREQ("one\n", line);
    EXPECT_NE(nullptr, fgets(line, sizeof line, stream));
    EXPECT_STREQ("two", line);
    EXPECT_EQ(nullptr, fgets(line, sizeof line, stream));
    EXPECT_EQ(7, ftell(stream));
    EXPECT_EQ(0, fclose(stream));
}

TEST(TextStream, ReadsInPlace) {
    char text[] = "abc";
    FILE* const stream = xstr_fopen_cstr(text, "r");
    text[1] = 'X';

    EXPECT_EQ('a', fgetc(stream));
    EXPECT_EQ('X', fgetc(stream));
    fclose(stream);
}

TEST(TextStream, DoesNotNeedThePointerThatItWasOpenedWith) {
    const char* text = "abc";
    FILE* const stream = xstr_fopen_cstr(text, "r");
    text = "xyz";

    EXPECT_EQ('a', fgetc(stream));
    EXPECT_STREQ("xyz", text);
    fclose(stream);
}

TEST(TextStream, Seeks) {
    FILE* const stream = xstr_fopen_cstr("abc", "r");

    EXPECT_EQ(0, fseek(stream, -1, SEEK_END));
    EXPECT_EQ('c', fgetc(stream));
    EXPECT_EQ(0, fseek(stream, 3, SEEK_SET));
    EXPECT_EQ(-1, fseek(stream, 4, SEEK_SET));
    fclose(stream);
}

TEST(TextStream, DoesNotWrite) {
    char text[] = "abc";
    FILE* const stream = xstr_fopen_cstr(text, "r");

    EXPECT_EQ(EOF, fputc('x', stream));
    EXPECT_NE(0, ferror(stream));
    fclose(stream);

    EXPECT_STREQ("abc", text);
}

TEST(TextStream, OfAnEmptyTextIsAtItsEnd) {
    FILE* const stream = xstr_fopen_cstr("", "r");

    EXPECT_EQ(EOF, fgetc(stream));
    fclose(stream);
}

TEST(TextStream, TakesTheModeRAlone) {
    for (const char* const mode : {"", "r+", "rb", "w", "a", "a+", "rr"}) {
        errno = 0;
        EXPECT_EQ(nullptr, xstr_fopen_cstr("abc", mode)) << mode;
        EXPECT_EQ(EINVAL, errno) << mode;
    }
}

// --- the offset ---

TEST(MemStreamSeek, TakesTheLow32BitsOfAnOffset) {
    FILE* const stream = xstr_fopen_cstr("abc", "r");
    setvbuf(stream, nullptr, _IONBF, 0);

    EXPECT_EQ(0, fseeko(stream, 0x100000001, SEEK_SET));

    EXPECT_EQ('b', fgetc(stream));
    fclose(stream);
}

}  // namespace
