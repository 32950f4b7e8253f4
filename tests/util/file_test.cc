// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/file.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "support/open_fds.h"
#include "support/syslog_capture.h"
#include "support/temp_dir.h"

namespace {

using zol::CFileUtil;

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Two files, a and b, in a folder of their own; whatever a test does, no descriptor stays open.
class FileUtil : public ::testing::Test {
  protected:
    ~FileUtil() override { EXPECT_EQ(m_openBefore, openFds()); }

    void write(const std::string& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary) << bytes;
    }

    bool isSame(const std::string& first, const std::string& second) {
        write(a, first);
        write(b, second);
        return CFileUtil::isSameFile(a.c_str(), b.c_str());
    }

    const int m_openBefore = openFds();
    const TempDir m_folder;
    const std::string a = m_folder.file("a");
    const std::string b = m_folder.file("b");
    const std::string missing = m_folder.file("missing");
    const std::string unreachable = m_folder.file("no/such/folder");
    SyslogCapture m_log;
};

using Lines = std::vector<SyslogCapture::Line>;

class WriteFile : public FileUtil {};
class ReadWholeFile : public FileUtil {};
class FileExists : public FileUtil {};
class CopyFile : public FileUtil {};
class IsSameFile : public FileUtil {};
class GetFileSize : public FileUtil {};

// --- writeFile ---

TEST_F(WriteFile, MakesAFile) {
    EXPECT_EQ(0, CFileUtil::writeFile(a.c_str(), "text\n", 0));

    EXPECT_EQ("text\n", contentOf(a));
}

TEST_F(WriteFile, WithModeOneAppends) {
    write(a, "one ");

    EXPECT_EQ(0, CFileUtil::writeFile(a.c_str(), "two", 1));

    EXPECT_EQ("one two", contentOf(a));
}

TEST_F(WriteFile, WithAnyOtherModeBeginsAnew) {
    for (const int mode : {0, 2, -1}) {
        write(a, "something longer");

        EXPECT_EQ(0, CFileUtil::writeFile(a.c_str(), "new", mode));

        EXPECT_EQ("new", contentOf(a)) << mode;
    }
}

TEST_F(WriteFile, AppendsToAFileThatIsNotThere) {
    EXPECT_EQ(0, CFileUtil::writeFile(a.c_str(), "text", 1));

    EXPECT_EQ("text", contentOf(a));
}

TEST_F(WriteFile, OfAnEmptyTextLeavesAnEmptyFile) {
    write(a, "text");

    EXPECT_EQ(0, CFileUtil::writeFile(a.c_str(), "", 0));

    EXPECT_EQ("", contentOf(a));
    EXPECT_TRUE(CFileUtil::fileExists(a.c_str()));
}

TEST_F(WriteFile, ThatCannotBeOpenedAnswersZeroAllTheSame) {
    EXPECT_EQ(0, CFileUtil::writeFile(unreachable.c_str(), "text", 0));
    EXPECT_EQ(0, CFileUtil::writeFile(unreachable.c_str(), "text", 1));

    EXPECT_EQ(Lines(), m_log.lines());
}

TEST_F(WriteFile, AnswersWhatClosingDoes) {
#ifdef __UCLIBC__  // whose fclose(3) forgets that the last bytes could not be written
    constexpr int kFull = 0;
#else
    constexpr int kFull = -1;
#endif
    EXPECT_EQ(kFull, CFileUtil::writeFile("/dev/full", "text", 1));
}

TEST_F(WriteFile, DoesNotTellOfAnErrorBeforeTheEnd) {
    EXPECT_EQ(0, CFileUtil::writeFile("/dev/full", std::string(8192, 'x').c_str(), 1));
}

// --- readFile ---

TEST_F(ReadWholeFile, AnswersItsText) {
    write(a, "text\n");
    char buffer[100];

    EXPECT_EQ(0, CFileUtil::readFile(a.c_str(), buffer, sizeof buffer));

    EXPECT_STREQ("text\n", buffer);
}

TEST_F(ReadWholeFile, CutsWhatDoesNotFit) {
    write(a, "01234567890123456789");
    char buffer[9];
    memset(buffer, '#', sizeof buffer);

    EXPECT_EQ(0, CFileUtil::readFile(a.c_str(), buffer, 8));

    EXPECT_STREQ("0123456", buffer);
    EXPECT_EQ('#', buffer[8]);
}

TEST_F(ReadWholeFile, WithRoomForTheNulAloneIsEmpty) {
    write(a, "text");
    char buffer[2] = {'#', '#'};

    EXPECT_EQ(0, CFileUtil::readFile(a.c_str(), buffer, 1));

    EXPECT_EQ('\0', buffer[0]);
    EXPECT_EQ('#', buffer[1]);
}

TEST_F(ReadWholeFile, OfAnEmptyFileIsEmpty) {
    write(a, "");
    char buffer[10] = "old";

    EXPECT_EQ(0, CFileUtil::readFile(a.c_str(), buffer, sizeof buffer));

    EXPECT_STREQ("", buffer);
}

TEST_F(ReadWholeFile, ThatCannotBeOpenedAnswersOneAndAnEmptyText) {
    char buffer[10] = "old";

    EXPECT_EQ(1, CFileUtil::readFile(missing.c_str(), buffer, sizeof buffer));

    EXPECT_STREQ("", buffer);
    EXPECT_EQ(Lines(), m_log.lines());
}

TEST_F(ReadWholeFile, OfAFolderIsEmpty) {
    char buffer[10] = "old";

    EXPECT_EQ(0, CFileUtil::readFile(m_folder.path().c_str(), buffer, sizeof buffer));

    EXPECT_STREQ("", buffer);
}

TEST_F(ReadWholeFile, KeepsNulsOfTheFile) {
    write(a, std::string("a\0b", 3));
    char buffer[10];

    EXPECT_EQ(0, CFileUtil::readFile(a.c_str(), buffer, sizeof buffer));

    EXPECT_EQ(0, memcmp("a\0b\0", buffer, 4));
}

// --- fileExists ---

TEST_F(FileExists, IsTrueOfFilesAndFolders) {
    write(a, "");

    EXPECT_TRUE(CFileUtil::fileExists(a.c_str()));
    EXPECT_TRUE(CFileUtil::fileExists(m_folder.path().c_str()));
}

TEST_F(FileExists, IsFalseOfWhatIsNotThere) {
    EXPECT_FALSE(CFileUtil::fileExists(missing.c_str()));
    EXPECT_FALSE(CFileUtil::fileExists(unreachable.c_str()));
    EXPECT_FALSE(CFileUtil::fileExists(""));
}

TEST_F(FileExists, GoesByWhatALinkLeadsTo) {
    ASSERT_EQ(0, symlink(missing.c_str(), a.c_str()));

    EXPECT_FALSE(CFileUtil::fileExists(a.c_str()));
}

// --- copy ---

TEST_F(CopyFile, CopiesWhatIsInIt) {
    write(a, std::string("a\0b\n", 4));

    EXPECT_EQ(0, CFileUtil::copy(a.c_str(), b.c_str()));

    EXPECT_EQ(std::string("a\0b\n", 4), contentOf(b));
    EXPECT_EQ(std::string("a\0b\n", 4), contentOf(a));
}

TEST_F(CopyFile, CopiesFilesOfAnySize) {
    for (const size_t size : {0, 1, 4095, 4096, 4097, 100000}) {
        std::string bytes(size, '\0');
        for (size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<char>(i * 7 + i / 256);
        }
        write(a, bytes);

        EXPECT_EQ(0, CFileUtil::copy(a.c_str(), b.c_str()));

        EXPECT_TRUE(bytes == contentOf(b)) << size;
    }
}

TEST_F(CopyFile, ReplacesALongerFile) {
    write(a, "new");
    write(b, "something longer");

    EXPECT_EQ(0, CFileUtil::copy(a.c_str(), b.c_str()));

    EXPECT_EQ("new", contentOf(b));
}

TEST_F(CopyFile, WithoutASourceLeavesTheTargetAlone) {
    write(b, "old");

    EXPECT_EQ(1, CFileUtil::copy(missing.c_str(), b.c_str()));

    EXPECT_EQ("old", contentOf(b));
}

TEST_F(CopyFile, ThatCannotOpenTheTargetFails) {
    write(a, "text");

    EXPECT_EQ(1, CFileUtil::copy(a.c_str(), unreachable.c_str()));
}

TEST_F(CopyFile, DoesNotReportErrorsOfWriting) {
    write(a, "text");

    EXPECT_EQ(0, CFileUtil::copy(a.c_str(), "/dev/full"));
}

// The target is opened for reading, too: else this would wait for a reader.
TEST_F(CopyFile, DoesNotWaitForAReaderOfAPipe) {
    write(a, "text");
    ASSERT_EQ(0, mkfifo(b.c_str(), 0600));

    EXPECT_EQ(0, CFileUtil::copy(a.c_str(), b.c_str()));
}

TEST_F(CopyFile, OntoItselfEmptiesIt) {
    write(a, "text");

    EXPECT_EQ(0, CFileUtil::copy(a.c_str(), a.c_str()));

    EXPECT_EQ("", contentOf(a));
}

// --- isSameFile ---

TEST_F(IsSameFile, ComparesTheFirstByteOfEachFour) {
    EXPECT_TRUE(isSame("abcdef", "abcdef"));
    EXPECT_TRUE(isSame("abcdefgh", "aXXXeYYY"));
    EXPECT_TRUE(isSame("abcdef", "aXcdef"));
    EXPECT_FALSE(isSame("abcdef", "Xbcdef"));
    EXPECT_FALSE(isSame("abcdefgh", "abcdXfgh"));
    EXPECT_EQ(Lines(), m_log.lines());
}

TEST_F(IsSameFile, DoesNotSeeTheBytesBehindTheLastWholeBlock) {
    EXPECT_TRUE(isSame("abcdef", "abcdXY"));
    EXPECT_TRUE(isSame("a", "b"));
    EXPECT_TRUE(isSame("abc", "xyz"));
}

TEST_F(IsSameFile, IsTrueOfEmptyFiles) {
    EXPECT_TRUE(isSame("", ""));
}

TEST_F(IsSameFile, LooksAtAllBlocksOfALongFile) {
    std::string bytes(40000, 'x');
    std::string others = bytes;
    EXPECT_TRUE(isSame(bytes, others));

    others[39996] = 'y';
    EXPECT_FALSE(isSame(bytes, others));
}

TEST_F(IsSameFile, LogsAnotherSize) {
    EXPECT_FALSE(isSame("abcd", "abcde"));

    EXPECT_EQ((Lines{{7, " isSameFile(#): size different"}}), m_log.lines());
}

TEST_F(IsSameFile, LogsTheFirstThatCannotBeOpened) {
    write(b, "text");

    EXPECT_FALSE(CFileUtil::isSameFile(missing.c_str(), b.c_str()));

    EXPECT_EQ((Lines{{7, " isSameFile(#): open " + missing + " failed"}}), m_log.lines());
}

TEST_F(IsSameFile, LogsTheSecondThatCannotBeOpened) {
    write(a, "text");

    EXPECT_FALSE(CFileUtil::isSameFile(a.c_str(), missing.c_str()));

    EXPECT_EQ((Lines{{7, " isSameFile(#): open " + missing + " failed"}}), m_log.lines());
}

TEST_F(IsSameFile, EndsWhereReadingDoes) {
    // The size that a folder tells is huge, and nothing can be read from it.
    EXPECT_TRUE(CFileUtil::isSameFile(m_folder.path().c_str(), m_folder.path().c_str()));
}

TEST_F(IsSameFile, IsTrueOfAFileAndItself) {
    write(a, "text");

    EXPECT_TRUE(CFileUtil::isSameFile(a.c_str(), a.c_str()));
}

// --- getFileSize ---

TEST_F(GetFileSize, CountsBytes) {
    write(a, std::string(12345, '\0'));

    EXPECT_EQ(12345, CFileUtil::getFileSize(a.c_str()));
    EXPECT_EQ(Lines(), m_log.lines());
}

TEST_F(GetFileSize, OfAnEmptyFileIsZero) {
    write(a, "");

    EXPECT_EQ(0, CFileUtil::getFileSize(a.c_str()));
    EXPECT_EQ(Lines(), m_log.lines());
}

TEST_F(GetFileSize, OfAMissingFileIsZeroAndLogged) {
    EXPECT_EQ(0, CFileUtil::getFileSize(missing.c_str()));

    EXPECT_EQ((Lines{{3, " getFileSize(#): open " + missing + " failed"}}), m_log.lines());
}

TEST_F(GetFileSize, OfMoreThanAnIntHoldsIsMinusOne) {
    write(a, "");
    ASSERT_EQ(0, truncate(a.c_str(), 0x7fffffff));
    EXPECT_EQ(0x7fffffff, CFileUtil::getFileSize(a.c_str()));

    ASSERT_EQ(0, truncate(a.c_str(), 0x80000000));
    EXPECT_EQ(-1, CFileUtil::getFileSize(a.c_str()));
}

TEST_F(GetFileSize, OfWhatCannotSeekIsMinusOne) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const std::string path = "/proc/self/fd/" + std::to_string(ends[0]);

    EXPECT_EQ(-1, CFileUtil::getFileSize(path.c_str()));

    close(ends[0]);
    close(ends[1]);
}

}  // namespace
