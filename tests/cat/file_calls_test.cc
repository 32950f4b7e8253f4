// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The calls that catalog files are made of, counted and made to fail. A program of its own, for it
// defines them.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

#include "zol/cat.h"

#include "catalog_fixture.h"
#include "support/next_function.h"
#include "support/open_fds.h"

namespace {

bool getFlagsFails = false;
bool setFlagsFails = false;
bool filenoFails = false;
bool closeFails = false;
bool readIsShort = false;
int preads = 0;
int seeks = 0;

}  // namespace

extern "C" {

int fcntl(int fd, int command, ...) {
    va_list args;
    va_start(args, command);
    const int argument = va_arg(args, int);
    va_end(args);
    if ((command == F_GETFD && getFlagsFails) || (command == F_SETFD && setFlagsFails)) {
        errno = EACCES;
        return -1;
    }
    return nextFunction<int (*)(int, int, ...)>("fcntl")(fd, command, argument);
}

int fileno(FILE* stream) noexcept {
    if (filenoFails) {
        errno = EBADF;
        return -1;
    }
    return nextFunction<int (*)(FILE*)>("fileno")(stream);
}

int fclose(FILE* stream) {
    const int result = nextFunction<int (*)(FILE*)>("fclose")(stream);
    if (closeFails) {
        errno = ENOSPC;
        return EOF;
    }
    return result;
}

ssize_t pread(int fd, void* bytes, size_t size, off_t position) {
    ++preads;
    const size_t asked = readIsShort ? size - 1 : size;
    return nextFunction<ssize_t (*)(int, void*, size_t, off_t)>("pread")(fd, bytes, asked,
                                                                         position);
}

int fseeko(FILE* stream, off_t offset, int whence) {
    ++seeks;
    return nextFunction<int (*)(FILE*, off_t, int)>("fseeko")(stream, offset, whence);
}

}  // extern "C"

namespace {

class CatalogCalls : public CatalogFiles {
  protected:
    ~CatalogCalls() override {
        getFlagsFails = setFlagsFails = filenoFails = closeFails = readIsShort = false;
    }

    zol::cat::CFile file;
    unsigned id = 999;
};

// What opening answers, and prints, when the descriptor's flags cannot be set.
TEST_F(CatalogCalls, WithoutCloseOnExecTheFileIsClosedAndRefused) {
    const std::string path = writeText("a.cat", 1, "rain");
    const int before = openFds();
    for (bool* const fault : {&getFlagsFails, &setFlagsFails, &filenoFails}) {
        *fault = true;
        testing::internal::CaptureStderr();

        const int result = file.open(path.c_str(), id);

        EXPECT_EQ("", testing::internal::GetCapturedStderr());
        *fault = false;
        EXPECT_EQ(-1, result);
        EXPECT_EQ(999U, id);
        EXPECT_EQ(nullptr, file.getStream());
        EXPECT_EQ(before, openFds());
    }
}

TEST_F(CatalogCalls, WhenClosingItFailsTooTheReasonIsPrinted) {
    const std::string path = writeText("a.cat", 1, "rain");
    testing::internal::CaptureStderr();
    setFlagsFails = closeFails = true;

    const int result = file.open(path.c_str(), id);

    setFlagsFails = closeFails = false;
    EXPECT_EQ("No space left on device\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(-1, result);
}

TEST_F(CatalogCalls, ALookupIsOneReadAndNothingElse) {
    ASSERT_EQ(0, file.open(writeText("a.cat", 1, "rain").c_str(), id));
    preads = seeks = 0;

    EXPECT_EQ("rain", textIn(file, 0x01000000));
    EXPECT_EQ("rain", textIn(file, 0x01000000));

    EXPECT_EQ(2, preads);
    EXPECT_EQ(0, seeks);
}

TEST_F(CatalogCalls, AnEmptyOrMissingMessageIsNotReadAtAll) {
    ASSERT_EQ(0, file.open(writeText("a.cat", 1, "").c_str(), id));
    preads = 0;

    EXPECT_EQ(kMissing, textIn(file, 0x01000000));
    EXPECT_EQ(kMissing, textIn(file, 0x01000001));

    EXPECT_EQ(0, preads);
}

TEST_F(CatalogCalls, AReadThatIsShortLeavesAnEmptyText) {
    ASSERT_EQ(0, file.open(writeText("a.cat", 1, "rain").c_str(), id));
    zol::CStr text("as it was");
    readIsShort = true;

    EXPECT_EQ(-1, file.getMessage(0x01000000, text));

    EXPECT_STREQ("", text.get());
}

}  // namespace
