// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// What a lexer reads, with the answers of read(2) laid down. A program of its own, for it defines
// that call.
#include <algorithm>
#include <deque>
#include <errno.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

#include "zol/lyctx.h"

namespace {

struct Answer {
    std::string bytes;
    int error = 0;  // 0: the bytes are the answer; else -1, or the bytes where there are some
};

// Of the descriptor or stream under test.
std::deque<Answer> answers;
int watchedFd = -1;
int calls = 0;

ssize_t answer(char* buffer, size_t room) {
    ++calls;
    if (answers.empty()) {
        return 0;
    }
    Answer& next = answers.front();
    const size_t count = std::min(room, next.bytes.size());
    memcpy(buffer, next.bytes.data(), count);
    next.bytes.erase(0, count);
    const int error = next.error;
    if (next.bytes.empty()) {
        answers.pop_front();
    }
    if (error != 0) {
        errno = error;
    }
    return count == 0 && error != 0 ? -1 : static_cast<ssize_t>(count);
}

}  // namespace

extern "C" ssize_t read(int fd, void* buffer, size_t room) {
    if (fd == watchedFd) {
        return answer(static_cast<char*>(buffer), room);
    }
    return syscall(SYS_read, fd, buffer, room);
}

namespace {

class ReadFile : public ::testing::Test {
  protected:
    ReadFile() {
        answers.clear();
        calls = 0;
    }
    ~ReadFile() override {
        watchedFd = -1;
        if (m_stream != nullptr) {
            fclose(m_stream);
        }
    }

    std::string read(int max = 100) {
        char buffer[200];
        memset(buffer, '#', sizeof buffer);
        const int count = xlyctx_read_file(m_stream, buffer, max);
        EXPECT_GE(count, 0);
        EXPECT_EQ('#', buffer[count]);
        return std::string(buffer, static_cast<size_t>(count));
    }

    void setError() {
        // Reading from a stream that was opened for writing.
        (void)fgetc(m_stream);
        ASSERT_NE(0, ferror(m_stream));
    }

    FILE* m_stream = nullptr;
};

class ReadFileWithADescriptor : public ReadFile {
  protected:
    ReadFileWithADescriptor() {
        m_stream = fopen("/dev/null", "w");
        watchedFd = fileno(m_stream);
    }
};

class ReadFileWithoutADescriptor : public ReadFile {
  protected:
    ReadFileWithoutADescriptor() {
        cookie_io_functions_t functions = {};
        functions.read = [](void*, char* buffer, size_t room) { return answer(buffer, room); };
        m_stream = fopencookie(this, "r", functions);
        setvbuf(m_stream, nullptr, _IONBF, 0);
    }
};

TEST_F(ReadFileWithADescriptor, AnswersWhatOneReadDoes) {
    answers = {{"abc"}, {"de"}};

    EXPECT_EQ("abc", read());
    EXPECT_EQ("de", read());
    EXPECT_EQ("", read());
    EXPECT_EQ(3, calls);
}

TEST_F(ReadFileWithADescriptor, TakesNoMoreThanThereIsRoomFor) {
    answers = {{"a"}};

    EXPECT_EQ("a", read(1));
}

TEST_F(ReadFileWithADescriptor, RepeatsAnInterruptedReadAndClearsTheStream) {
    answers = {{"", EINTR}, {"", EINTR}, {"abc"}};
    setError();

    EXPECT_EQ("abc", read());

    EXPECT_EQ(3, calls);
    EXPECT_EQ(0, errno);
    EXPECT_EQ(0, ferror(m_stream));
}

TEST_F(ReadFileWithADescriptor, AnswersNothingWhenNothingIsThereYetAndClearsTheStream) {
    answers = {{"", EAGAIN}, {"abc"}};
    setError();

    EXPECT_EQ("", read());

    EXPECT_EQ(1, calls);
    EXPECT_EQ(0, ferror(m_stream));
    EXPECT_EQ("abc", read());
}

TEST_F(ReadFileWithADescriptor, AnswersNothingOnAnErrorAndLeavesTheStream) {
    answers = {{"", EIO}, {"abc"}};
    setError();

    EXPECT_EQ("", read());

    EXPECT_EQ(1, calls);
    EXPECT_EQ(EIO, errno);
    EXPECT_NE(0, ferror(m_stream));
}

TEST_F(ReadFileWithADescriptor, DoesNotTakeAnEarlierErrnoForItsOwn) {
    errno = EINTR;

    EXPECT_EQ("", read());

    EXPECT_EQ(1, calls);
    EXPECT_EQ(0, errno);
}

TEST_F(ReadFileWithADescriptor, ClearsTheStreamAlsoWhenBytesCameWithEagain) {
    answers = {{"abc", EAGAIN}};
    setError();

    EXPECT_EQ("abc", read());

    EXPECT_EQ(0, ferror(m_stream));
}

TEST_F(ReadFileWithADescriptor, LosesNothingThatCameWithAnInterruption) {
    answers = {{"abc", EINTR}, {"de"}};

    EXPECT_EQ("abc", read());
    EXPECT_EQ("de", read());
}

TEST_F(ReadFileWithADescriptor, LeavesTheStreamWhenBytesCame) {
    answers = {{"abc"}};
    setError();

    EXPECT_EQ("abc", read());

    EXPECT_NE(0, ferror(m_stream));
}

TEST_F(ReadFileWithADescriptor, DoesNotReadWithoutRoom) {
    answers = {{"abc"}};

    EXPECT_EQ("", read(0));
    EXPECT_EQ("", read(-1));
    EXPECT_EQ(0, calls);
}

TEST_F(ReadFileWithoutADescriptor, AnswersWhatFreadDoes) {
    answers = {{"abc"}};

    EXPECT_EQ("abc", read(3));
    EXPECT_EQ("", read());
}

TEST_F(ReadFileWithoutADescriptor, RepeatsAnInterruptedRead) {
    answers = {{"", EINTR}, {"", EINTR}, {"abc"}};

    EXPECT_EQ("abc", read(3));

    EXPECT_GE(calls, 3);
    EXPECT_EQ(0, errno);
    EXPECT_EQ(0, ferror(m_stream));
}

TEST_F(ReadFileWithoutADescriptor, AnswersNothingWhenNothingIsThereYetAndClearsTheStream) {
    answers = {{"", EAGAIN}, {"abc"}};

    EXPECT_EQ("", read(3));

    EXPECT_EQ(0, ferror(m_stream));
    EXPECT_EQ("abc", read(3));
}

TEST_F(ReadFileWithoutADescriptor, AnswersWhatCameBeforeEagainAndClearsTheStream) {
    answers = {{"ab"}, {"", EAGAIN}};

    EXPECT_EQ("ab", read());

    EXPECT_EQ(0, ferror(m_stream));
}

TEST_F(ReadFileWithoutADescriptor, LosesNothingThatCameBeforeAnInterruption) {
    answers = {{"ab"}, {"", EINTR}, {"cd"}};

    EXPECT_EQ("ab", read());
}

TEST_F(ReadFileWithoutADescriptor, AnswersNothingOnAnErrorAndLeavesTheStream) {
    answers = {{"", EIO}};

    EXPECT_EQ("", read());

    EXPECT_NE(0, ferror(m_stream));
}

TEST_F(ReadFileWithoutADescriptor, AnswersNothingAtTheEnd) {
    EXPECT_EQ("", read());
    EXPECT_NE(0, feof(m_stream));
}

TEST(ReadFileOfThisProgram, ReadsAPipe) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    FILE* const stream = fdopen(ends[0], "r");
    ASSERT_EQ(4, write(ends[1], "abcd", 4));
    close(ends[1]);
    char buffer[3] = {};

    EXPECT_EQ(3, xlyctx_read_file(stream, buffer, 3));
    EXPECT_EQ("abc", std::string(buffer, 3));
    EXPECT_EQ(1, xlyctx_read_file(stream, buffer, 3));
    EXPECT_EQ('d', buffer[0]);
    EXPECT_EQ(0, xlyctx_read_file(stream, buffer, 3));
    fclose(stream);
}

}  // namespace
