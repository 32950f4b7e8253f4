// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The addresses at which gardend lets log files be downloaded.

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "zol/digest.h"

#include "downloads.h"
#include "support/temp_dir.h"

namespace gardend {

namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr time_t kStamp = 0x5f5e1000;

class Download : public ::testing::Test {
  protected:
    Download() {
        write("moisture.log", "roses 31.0\n");
        m_downloads.configure("key", 10, m_folder.path().c_str());
    }

    void write(const std::string& name, const std::string& content) {
        std::ofstream(m_folder.file(name)) << content;
    }

    std::vector<std::string> names() {
        const zol::CTab<zol::CStr> names = m_downloads.list();
        std::vector<std::string> found;
        for (const zol::CStr& name : names) {
            found.emplace_back(name.get());
        }
        return found;
    }

    // An address as it is made at kStamp.
    static std::string address(const std::string& name = "moisture.log",
                               const std::string& key = "key") {
        const std::string proven = key + "/" + name + "5f5e1000";
        return std::string("/log/") + md5Encode(proven.c_str()).get() + "/5f5e1000/" + name;
    }

    HttpAnswer get(const std::string& path, time_t now = kStamp) {
        HttpAnswer answer;
        m_downloads.answer(path.c_str(), now, answer);
        return answer;
    }

    // The lowest one: the same again as long as none is left open.
    static int freeDescriptor() {
        const int fd = dup(STDERR_FILENO);
        (void)close(fd);
        return fd;
    }

    int status(const std::string& path, time_t now = kStamp) { return get(path, now).status; }

    TempDir m_folder;
    CDownloads m_downloads;
};

// md5Encode("key/moisture.log5f5e1000")
constexpr char kAddress[] = "/log/6be006def9ebb0180b30d699b787b71a/5f5e1000/moisture.log";

TEST_F(Download, IsTheFile) {
    const HttpAnswer answer = get(kAddress);

    EXPECT_EQ(200, answer.status);
    EXPECT_STREQ("roses 31.0\n", answer.body.get());
    EXPECT_STREQ("text/plain; charset=utf-8", answer.contentType);
    EXPECT_STREQ("Content-Disposition: attachment\r\n", answer.fields.get());
}

TEST_F(Download, HasAFreshAddressThatIsGood) {
    const std::string fresh = m_downloads.makeAddress("moisture.log").get();

    EXPECT_THAT(fresh, StartsWith("/log/"));
    EXPECT_THAT(fresh, EndsWith("/moisture.log"));
    EXPECT_TRUE(CDownloads::isAddress(fresh.c_str()));
    EXPECT_EQ(200, status(fresh, time(nullptr)));
}

TEST_F(Download, IsPossibleForSomeMinutes) {
    EXPECT_EQ(200, status(kAddress, kStamp + 600));
    EXPECT_EQ(410, status(kAddress, kStamp + 601));
    EXPECT_EQ(410, status(kAddress, kStamp + 1000000));
}

TEST_F(Download, IsNotPossibleFromTheFuture) {
    EXPECT_EQ(200, status(kAddress, kStamp - 5));
    EXPECT_EQ(403, status(kAddress, kStamp - 6));
    EXPECT_EQ(403, status(kAddress, kStamp - 1000000));
}

#ifndef __UCLIBC__  // whose clock has no more
// The stamp has 32 bits; a clock has more.
TEST_F(Download, GoesOnWhenTheStampBeginsAnew) {
    EXPECT_EQ(200, status(kAddress, kStamp + (time_t{1} << 32)));
    EXPECT_EQ(410, status(kAddress, kStamp + (time_t{1} << 32) + 601));
}
#endif

TEST_F(Download, NeedsAnAddressThatWasMadeHere) {
    EXPECT_EQ(200, status(address()));
    EXPECT_EQ(403, status(address("moisture.log", "another key")));
    std::string path = address();
    path[5] = path[5] == '0' ? '1' : '0';  // the hash
    EXPECT_EQ(403, status(path));
    path = address();
    path[path.find("5f5e1000")] = '6';
    EXPECT_EQ(403, status(path));
}

TEST_F(Download, IsOfTheFileThatTheAddressNames) {
    write("other.log", "secret");
    std::string path = address();
    path.replace(path.find("moisture"), 8, "other");

    EXPECT_EQ(403, status(path));
}

TEST_F(Download, NeedsAWellFormedAddress) {
    const std::string hash = address().substr(5, 32);
    for (const std::string& path : std::vector<std::string>{
             "/log/",
             "/log//",
             "/log/moisture.log",
             "/log/" + hash,
             "/log/" + hash + "/",
             "/log/" + hash + "/5f5e1000",
             "/log/" + hash + "/5f5e1000/",
             "/log/" + hash + "/5F5E1000/moisture.log",
             "/log/" + hash + "/5f5e100/moisture.log",
             "/log/" + hash + "/05f5e1000/moisture.log",
             "/log/" + hash + "/0x5f5e10/moisture.log",
             "/log/" + hash + "/ 5f5e100/moisture.log",
             "/log/" + hash + "//moisture.log",
             "/log/" + hash + "0/5f5e1000/moisture.log",
             "/log/" + hash.substr(1) + "/5f5e1000/moisture.log",
             "/log/" + std::string(32, 'A') + "/5f5e1000/moisture.log",
             "/log/" + hash + "/5f5e1000/moisture.log/",
             "/log/" + hash + "/5f5e1000//moisture.log",
         }) {
        EXPECT_EQ(404, status(path)) << path;
    }
}

TEST_F(Download, IsOnlyOfLogs) {
    for (const std::string& name :
         std::vector<std::string>{".log", ".hidden.log", "moisture.txt", "moisture.log~",
                                  "moisture.log.", "moisture.log.x", "moisture.log.1.2", "moisture",
                                  "moisture%2elog", "a b.log", "state"}) {
        write(name, "secret");
        ASSERT_EQ(0, access(m_folder.file(name).c_str(), R_OK)) << name;
        EXPECT_EQ(404, status(address(name))) << name;
    }
    EXPECT_THAT(names(), ElementsAre("moisture.log"));
    EXPECT_EQ(404, status(address("none.log")));
}

TEST_F(Download, IsNeverOutsideOfTheFolder) {
    ASSERT_EQ(0, mkdir(m_folder.file("a").c_str(), 0700));
    write("a/moisture.log", "secret");
    m_downloads.configure("key", 10, m_folder.file("a").c_str());
    ASSERT_EQ(200, status(address()));

    for (const char* name : {"..", ".", "../moisture.log", "../a/moisture.log", "./moisture.log"}) {
        EXPECT_EQ(404, status(address(name))) << name;
    }
    m_downloads.configure("key", 10, m_folder.path().c_str());
    EXPECT_EQ(404, status(address("a/moisture.log")));
}

TEST_F(Download, IsNoFolderNoLinkAndNoPipe) {
    ASSERT_EQ(0, mkdir(m_folder.file("folder.log").c_str(), 0700));
    ASSERT_EQ(0, symlink("/etc/passwd", m_folder.file("link.log").c_str()));
    ASSERT_EQ(0, mkfifo(m_folder.file("pipe.log").c_str(), 0600));

    const int before = freeDescriptor();
    EXPECT_EQ(404, status(address("folder.log")));
    EXPECT_EQ(404, status(address("link.log")));
    EXPECT_EQ(404, status(address("pipe.log")));
    EXPECT_THAT(names(), ElementsAre("moisture.log"));
    EXPECT_EQ(200, status(address()));
    EXPECT_EQ(before, freeDescriptor());
}

TEST_F(Download, HasToWaitForADescriptor) {
    const CDownloads& downloads = m_downloads;
    const zol::CStr path(kAddress);
    HttpAnswer answer;
    rlimit old = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &old));
    rlimit none = old;
    none.rlim_cur = 0;
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
    // Nothing else meanwhile: sanitizers need descriptors, too.
    downloads.answer(path, kStamp, answer);
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &old));

    EXPECT_EQ(503, answer.status);
    EXPECT_EQ(200, status(address()));
}

TEST_F(Download, IsTheEndOfALargeFile) {
    std::string lines;
    for (int i = 0; i < 30000; ++i) {
        lines += "0123456789\n";
    }
    write("large.log", lines + "end\n");

    const HttpAnswer answer = get(address("large.log"));

    EXPECT_EQ(200, answer.status);
    EXPECT_EQ(131069, answer.body.getLength());  // the line that was cut had 3 bytes left
    EXPECT_THAT(answer.body.get(), StartsWith("0123456789\n"));
    EXPECT_THAT(answer.body.get(), EndsWith("0123456789\nend\n"));
}

TEST_F(Download, LosesNothingWhereTheCutIsBetweenTwoLines) {
    write("large.log", "cut off\n" + std::string(131071, 'x') + "\n");

    const HttpAnswer answer = get(address("large.log"));

    EXPECT_EQ(131072, answer.body.getLength());
    EXPECT_THAT(answer.body.get(), StartsWith("xxx"));
}

TEST_F(Download, IsTheEndOfALineThatIsTooLong) {
    write("ended.log", "start\n" + std::string(200000, 'x') + "end\n");
    write("open.log", "start\n" + std::string(200000, 'x') + "end");

    for (const char* name : {"ended.log", "open.log"}) {
        EXPECT_EQ(131072, get(address(name)).body.getLength()) << name;
    }
    EXPECT_THAT(get(address("ended.log")).body.get(), EndsWith("xend\n"));
    EXPECT_THAT(get(address("open.log")).body.get(), EndsWith("xend"));
}

TEST_F(Download, MayBeAsLargeAsAnAnswerOrEmpty) {
    write("full.log", std::string(131072, 'x'));
    write("empty.log", "");

    EXPECT_EQ(131072, get(address("full.log")).body.getLength());
    EXPECT_EQ(200, status(address("empty.log")));
    EXPECT_EQ(0, get(address("empty.log")).body.getLength());
}

TEST_F(Download, MayHoldAnyBytes) {
    write("bytes.log", std::string("a\0\xff\n", 4));

    const HttpAnswer answer = get(address("bytes.log"));

    EXPECT_EQ(std::string("a\0\xff\n", 4), std::string(answer.body.get(), 4));
    EXPECT_EQ(4, answer.body.getLength());
}

TEST_F(Download, IsListedWithTheOtherLogs) {
    write("valves.log", "");
    write("moisture.log.1", "");
    write("notes.txt", "");
    write(".moisture.log", "");

    EXPECT_THAT(names(), ElementsAre("moisture.log", "moisture.log.1", "valves.log"));
}

TEST_F(Download, IsListedUpToABoundTheFirstOnesByName) {
    for (int i = 59; i >= 20; --i) {
        write("moisture.log." + std::to_string(i), "");
    }

    const std::vector<std::string> found = names();

    ASSERT_EQ(16U, found.size());
    EXPECT_EQ("moisture.log", found[0]);
    EXPECT_EQ("moisture.log.20", found[1]);
    EXPECT_EQ("moisture.log.34", found[15]);
}

TEST_F(Download, IsNotThereBeforeItIsConfigured) {
    for (const bool hasKey : {false, true}) {
        m_downloads.configure(hasKey ? "key" : "", 10, hasKey ? "" : m_folder.path().c_str());
        EXPECT_THAT(names(), IsEmpty());
        EXPECT_EQ(404, status(address("moisture.log", hasKey ? "key" : "")));
    }
}

TEST_F(Download, IsVoidWithAnotherKey) {
    m_downloads.configure("another key", 10, m_folder.path().c_str());

    EXPECT_EQ(403, status(address()));
    EXPECT_EQ(200, status(address("moisture.log", "another key")));
}

TEST_F(Download, IsNotThereInAFolderThatIsNotThere) {
    m_downloads.configure("key", 10, m_folder.file("none").c_str());

    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(404, status(address()));
}

}  // namespace

}  // namespace gardend
