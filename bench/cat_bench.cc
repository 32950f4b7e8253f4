// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Message catalogs beside gettext's and those of catgets(3), with the same 10,000 texts of 5 to 80
// bytes: 10 sets of 1,000, or in gettext the keys "0.0" to "9.999".
//
//   cat_open     opens the catalog, and closes it where that can be done
//   cat_lookup   looks a text up, any of them, and reads its first byte
//
// The limit reads the file once, byte by byte, to open it; to look a text up it reads its bytes
// from where they are known to be. All files are in the page cache.
//
// What a lookup needs besides time is counted in fresh processes (see Needs).

#include <fcntl.h>
#include <fstream>
#include <libintl.h>
#include <locale.h>
#include <malloc.h>
#include <nl_types.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "zol/cat.h"

#include "measure.h"
#include "support/catalog_bytes.h"
#include "support/temp_dir.h"

namespace {

constexpr int kSets = 10;
constexpr int kSetSize = 1000;
constexpr int kMessages = kSets * kSetSize;
constexpr unsigned kCatalogId = 1;

using Texts = std::vector<std::string>;

Texts makeTexts() {
    bench::Numbers numbers;
    Texts texts(kMessages);
    for (std::string& text : texts) {
        const unsigned length = 5 + numbers.below(76);
        while (text.size() != length) {
            text += static_cast<char>('a' + numbers.below(26));
        }
    }
    return texts;
}

const Texts& texts() {
    static const Texts all = makeTexts();
    return all;
}

// --- files ---

std::string zolBytes() {
    std::vector<SetBytes> sets;
    for (int set = 0; set != kSets; ++set) {
        const auto first = texts().begin() + set * kSetSize;
        sets.emplace_back(set, "set", Texts(first, first + kSetSize));
    }
    return CatalogBytes(kCatalogId, "bench", sets).bytes();
}

const Texts& gettextKeys() {
    static const Texts keys = [] {
        Texts made;
        for (int i = 0; i != kMessages; ++i) {
            made.push_back(std::to_string(i / kSetSize) + "." + std::to_string(i % kSetSize));
        }
        return made;
    }();
    return keys;
}

/** Makes the catalogs of all peers. @return whether the tools of the peers could do it */
bool makeFiles(const TempDir& folder) {
    std::ofstream(folder.file("zol.cat")) << zolBytes();
    std::ofstream catgets(folder.file("catgets.msg"));
    std::ofstream gettext(folder.file("bench.po"));
    gettext << "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n";
    for (int i = 0; i != kMessages; ++i) {
        const std::string& text = texts()[static_cast<size_t>(i)];
        if (i % kSetSize == 0) {
            catgets << "$set " << i / kSetSize + 1 << "\n";
        }
        catgets << i % kSetSize + 1 << " " << text << "\n";
        gettext << "\nmsgid \"" << gettextKeys()[static_cast<size_t>(i)] << "\"\nmsgstr \"" << text
                << "\"\n";
    }
    catgets.close();
    gettext.close();
    const std::string command = "cd " + folder.path() +
                                " && gencat catgets.cat catgets.msg"
                                " && mkdir -p en/LC_MESSAGES"
                                " && msgfmt -o en/LC_MESSAGES/bench.mo bench.po";
    return system(command.c_str()) == 0;
}

// --- peers ---
// Each opens its catalog in the folder when it is made, and returns texts by their number.

class ZolCatalog {
  public:
    static constexpr const char* name = "zol";

    explicit ZolCatalog(const std::string& folder) {
        (void)m_catalog.openFile((folder + "/zol.cat").c_str());
    }
    const char* text(int i) {
        const auto set = static_cast<unsigned>(i / kSetSize);
        const auto number = static_cast<unsigned>(i % kSetSize);
        (void)m_catalog.getMessage(kCatalogId << 24 | set << 16 | number, m_text);
        return m_text.get();
    }

  private:
    zol::cat::CCatalog m_catalog;
    zol::CStr m_text;
};

class Limit {
  public:
    static constexpr const char* name = "limit";

    explicit Limit(const std::string& folder)
        : m_stream(fopen((folder + "/zol.cat").c_str(), "re")) {
        while (getc_unlocked(m_stream) != EOF) {
        }
    }
    ~Limit() { (void)fclose(m_stream); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;
    const char* text(int i) {
        const size_t length = texts()[static_cast<size_t>(i)].size();
        const ssize_t count =
            pread(fileno(m_stream), m_text, length, positions()[static_cast<size_t>(i)]);
        m_text[count < 0 ? 0 : count] = '\0';
        return m_text;
    }

  private:
    static const std::vector<off_t>& positions() {
        static const std::vector<off_t> all = [] {
            const std::string bytes = zolBytes();
            std::vector<off_t> made;
            size_t position = 0;
            for (const std::string& text : texts()) {
                position = bytes.find(text + '\0', position);
                made.push_back(static_cast<off_t>(position));
            }
            return made;
        }();
        return all;
    }

    FILE* m_stream;
    char m_text[128];
};

class Gettext {
  public:
    static constexpr const char* name = "gettext";

    explicit Gettext(const std::string& folder) {
        (void)bindtextdomain("bench", newName(folder).c_str());
        (void)text(0);  // the file is loaded for the first lookup
    }
    const char* text(int i) {
        return dgettext("bench", gettextKeys()[static_cast<size_t>(i)].c_str());
    }

  private:
    // A file that is loaded stays, and is known by its name: opening it again takes another name
    // of its folder.
    static std::string newName(std::string folder) {
        static unsigned used = 0;
        ++used;
        for (unsigned bit = 1U << 15; bit != 0; bit >>= 1) {
            folder += (used & bit) != 0 ? "//" : "/.";
        }
        return folder;
    }
};

class Catgets {
  public:
    static constexpr const char* name = "catgets";

    explicit Catgets(const std::string& folder)
        : m_catalog(catopen((folder + "/catgets.cat").c_str(), 0)) {}
    ~Catgets() { (void)catclose(m_catalog); }
    Catgets(const Catgets&) = delete;
    Catgets& operator=(const Catgets&) = delete;
    const char* text(int i) { return catgets(m_catalog, i / kSetSize + 1, i % kSetSize + 1, ""); }

  private:
    nl_catd m_catalog;
};

// Looks a text up, and sees to it that at least a part of it is in memory.
template <class Peer>
unsigned firstByte(Peer& peer, int i) {
    return static_cast<unsigned char>(*peer.text(i));
}

// --- what a peer needs besides time ---

struct Memory {
    long dirty = 0;   // bytes that are the process's own
    long mapped = 0;  // bytes of the catalog's file that are mapped and resident
};

Memory memoryNow(const std::string& folder) {
    malloc_trim(0);  // what is free does not hide what is needed later
    Memory result;
    std::ifstream maps("/proc/self/smaps");
    bool ofCatalog = false;
    for (std::string line; std::getline(maps, line);) {
        const std::string head = line.substr(0, line.find(' '));
        if (head.back() != ':') {
            ofCatalog = line.find(folder) != std::string::npos;
        } else if (head == "Rss:" && ofCatalog) {
            result.mapped += 1024 * atol(line.c_str() + head.size());
        } else if (head == "Private_Dirty:" && !ofCatalog) {
            result.dirty += 1024 * atol(line.c_str() + head.size());
        }
    }
    return result;
}

/** What a process has needed that opened a catalog and looked texts up in it. */
struct Needs {
    long systemCalls = 0;
    Memory memory;
};

/** The work of that process. Prints by how much its memory has grown. */
template <class Peer>
int openAndLookUp(const std::string& folder, int lookups) {
    (void)gettextKeys();
    const Memory before = memoryNow(folder);
    Peer peer(folder);
    unsigned sum = 0;
    for (int i = 0; i != lookups; ++i) {
        sum += firstByte(peer, i % kMessages);
    }
    benchmark::DoNotOptimize(sum);
    const Memory after = memoryNow(folder);
    printf("%ld %ld\n", after.dirty - before.dirty, after.mapped - before.mapped);
    return 0;
}

/** Starts that process and counts its system calls. @return false when it could not be done */
bool measureNeeds(const char* peer, const std::string& folder, int lookups, Needs& needs) {
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) {
            dup2(pipeEnds[1], STDOUT_FILENO);
            execl("/proc/self/exe", "cat_bench", "--once", peer, folder.c_str(),
                  std::to_string(lookups).c_str(), nullptr);
        }
        _exit(127);
    }
    close(pipeEnds[1]);
    long stops = 0;  // one at the beginning and one at the end of each call
    for (int status = 0; waitpid(child, &status, 0) == child && WIFSTOPPED(status); ++stops) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    }
    needs.systemCalls = stops / 2;
    FILE* const output = fdopen(pipeEnds[0], "r");
    const int read = fscanf(output, "%ld %ld", &needs.memory.dirty, &needs.memory.mapped);
    (void)fclose(output);
    return read == 2;
}

void addNeeds(benchmark::State& state, const char* peer, const std::string& folder) {
    Needs idle;
    Needs busy;
    if (!measureNeeds(peer, folder, 0, idle) || !measureNeeds(peer, folder, kMessages, busy)) {
        return;  // the limit, or a system where nothing may be traced
    }
    const auto perMessage = [](long value) { return static_cast<double>(value) / kMessages; };
    state.counters["system_calls"] = perMessage(busy.systemCalls - idle.systemCalls);
    state.counters["dirty"] = perMessage(busy.memory.dirty);
    state.counters["mapped"] = perMessage(busy.memory.mapped);
}

// --- benchmarks ---

template <class Peer>
bool givesTheTexts(Peer& peer) {
    for (int i = 0; i != kMessages; ++i) {
        if (peer.text(i) != texts()[static_cast<size_t>(i)]) {
            return false;
        }
    }
    return true;
}

template <class Peer>
void addAll(const TempDir& folder) {
    bench::add("cat_open", Peer::name, kMessages, [&folder](benchmark::State& state) {
        bench::measure(state, 1, [&folder] {
            Peer peer(folder.path());
            benchmark::DoNotOptimize(&peer);
        });
    })->Iterations(200);  // what gettext has loaded stays
    bench::add("cat_lookup", Peer::name, kMessages, [&folder](benchmark::State& state) {
        Peer peer(folder.path());
        if (!givesTheTexts(peer)) {
            state.SkipWithError("has other texts");
            return;
        }
        bench::Numbers numbers;
        bench::measure(state, kMessages, [&peer, &numbers] {
            unsigned sum = 0;
            for (int i = 0; i != kMessages; ++i) {
                sum += firstByte(peer, static_cast<int>(numbers.below(kMessages)));
            }
            benchmark::DoNotOptimize(sum);
        });
        addNeeds(state, Peer::name, folder.path());
    });
}

/** The part of main() for a process of measureNeeds(). The limit is no peer: it keeps nothing. */
int runOnce(const std::string& peer, const std::string& folder, int lookups) {
    if (peer == ZolCatalog::name) {
        return openAndLookUp<ZolCatalog>(folder, lookups);
    }
    if (peer == Gettext::name) {
        return openAndLookUp<Gettext>(folder, lookups);
    }
    if (peer == Catgets::name) {
        return openAndLookUp<Catgets>(folder, lookups);
    }
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    setenv("LANGUAGE", "en", 1);
    setlocale(LC_ALL, "C.UTF-8");  // gettext has no catalogs in the locale "C"
    if (argc == 5 && strcmp(argv[1], "--once") == 0) {
        return runOnce(argv[2], argv[3], atoi(argv[4]));
    }

    const TempDir folder;
    if (!makeFiles(folder)) {
        fputs("cat_bench: gencat(1) and msgfmt(1) are needed\n", stderr);
        return 1;
    }
    addAll<ZolCatalog>(folder);
    addAll<Limit>(folder);
    addAll<Gettext>(folder);
    addAll<Catgets>(folder);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
