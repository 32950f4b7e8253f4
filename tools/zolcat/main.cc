// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// zolcat: makes, prints and checks message catalogs. See zolcat(1).
#include <algorithm>
#include <errno.h>
#include <filesystem>
#include <getopt.h>
#include <stdio.h>
#include <string.h>
#include <string>
#include <vector>

#include "zol/cat.h"
#include "zol/version.h"

#include "binary.h"
#include "catalog.h"
#include "check.h"
#include "files.h"
#include "header.h"
#include "source.h"

namespace zolcat {

namespace {

constexpr int kGood = 0;
constexpr int kProblems = 1;
constexpr int kTrouble = 2;  // wrong usage; a file that cannot be read or written

constexpr size_t kMaxPrinted = 2000;  // problems of a file that is no source at all, say

constexpr char kUsage[] =
    "Usage: zolcat compile [-o FILE.cat] SOURCE...\n"
    "       zolcat dump FILE.cat...\n"
    "       zolcat check [--reference REFERENCE] FILE...\n"
    "       zolcat header [-o FILE.h] [--prefix PREFIX] SOURCE...\n"
    "       zolcat -h | --help | --version\n";

constexpr char kHelp[] =
    "\n"
    "  compile   makes a catalog file from message sources: FILE.cat, or the one SOURCE with the\n"
    "            suffix .cat\n"
    "  dump      prints catalog files\n"
    "  check     says what is wrong with sources and catalog files, and in what they differ from\n"
    "            REFERENCE, another source or catalog file\n"
    "  header    makes a C header with the ids of the messages that have a name: FILE.h, or on\n"
    "            standard output\n"
    "\n"
    "The exit status is 1 when there are problems, 2 when the command line is wrong or a file\n"
    "cannot be read or written.\n";

struct Arguments {
    std::string output;
    std::string reference;
    std::string prefix;
    std::vector<std::string> files;
};

int failUsage(const std::string& text) {
    (void)fprintf(stderr, "zolcat: %s\n%s", text.c_str(), kUsage);
    return kTrouble;
}

int failFile(const std::string& path, int error) {
    (void)fprintf(stderr, "zolcat: %s: %s\n", path.c_str(), strerror(error));
    return kTrouble;
}

// What was printed has to arrive.
int finishOutput(int status) {
    if (fflush(stdout) != 0) {
        return failFile("standard output", errno);
    }
    // An earlier failure, whose errno is gone.
    return ferror(stdout) != 0 ? failFile("standard output", EIO) : status;
}

int print(const Catalog& catalog, const std::vector<Problem>& problems, FILE* out) {
    const size_t count = std::min(problems.size(), kMaxPrinted);
    for (size_t i = 0; i < count; ++i) {
        (void)fprintf(out, "%s\n", catalog.describe(problems[i]).c_str());
    }
    if (count < problems.size()) {
        (void)fprintf(out, "... and %zu more\n", problems.size() - count);
    }
    return problems.empty() ? kGood : kProblems;
}

// Reads several sources as one catalog and prints their problems. @return the exit status so far
int readAll(const std::vector<std::string>& paths, Catalog& catalog) {
    std::vector<SourceFile> sources;
    for (const std::string& path : paths) {
        sources.push_back({path, ""});
        const int error = readFile(path, sources.back().bytes);
        if (error != 0) {
            return failFile(path, error);
        }
    }
    Reading reading = readSources(sources);
    catalog = std::move(reading.catalog);
    return print(catalog, reading.problems, stderr);
}

bool isOneOf(const std::vector<std::string>& paths, const std::string& path) {
    return std::any_of(paths.begin(), paths.end(), [&path](const std::string& each) {
        std::error_code error;
        return each == path || std::filesystem::equivalent(each, path, error);
    });
}

// --- the commands ---

int compile(const Arguments& arguments) {
    std::string output = arguments.output;
    if (output.empty()) {
        if (arguments.files.size() > 1) {
            return failUsage("several sources need -o");
        }
        output = std::filesystem::path(arguments.files[0]).replace_extension(".cat").string();
    }
    if (isOneOf(arguments.files, output)) {
        return failUsage("'" + output + "' is the source itself");
    }
    Catalog catalog;
    const int status = readAll(arguments.files, catalog);
    if (status != kGood) {
        return status;
    }
    const int error = replaceFile(output, writeCatalog(catalog));
    return error == 0 ? kGood : failFile(output, error);
}

int dumpFile(const std::string& path) {
    std::string bytes;
    const int error = readFile(path, bytes);
    if (error != 0) {
        return failFile(path, error);
    }
    if (xcat_dump_file(path.c_str(), stdout) == 0) {
        return kGood;
    }
    const Reading reading = readCatalogFile(path, bytes);
    // A good file that the library cannot read all the same: a pipe is empty the second time.
    return reading.problems.empty() ? failFile(path, EIO)
                                    : print(reading.catalog, reading.problems, stderr);
}

int dump(const Arguments& arguments) {
    int status = kGood;
    for (const std::string& path : arguments.files) {
        status = std::max(status, dumpFile(path));
    }
    return finishOutput(status);
}

// Reads a source or a catalog file. @return 0, or an errno
int readEither(const std::string& path, Reading& reading) {
    std::string bytes;
    const int error = readFile(path, bytes);
    if (error == 0) {
        reading =
            isCatalogFile(bytes) ? readCatalogFile(path, bytes) : readSources({{path, bytes}});
    }
    return error;
}

// @param reference  null: there is none
int checkFile(const std::string& path, const Catalog* reference) {
    Reading reading;
    const int error = readEither(path, reading);
    if (error != 0) {
        return failFile(path, error);
    }
    std::vector<Problem>& problems = reading.problems;
    if (!reading.isRefused) {
        const std::vector<Problem> more = reference == nullptr
                                              ? findEmptyMessages(reading.catalog)
                                              : compare(reading.catalog, *reference);
        problems.insert(problems.end(), more.begin(), more.end());
        sortByPlace(problems);
    }
    return print(reading.catalog, problems, stdout);
}

int check(const Arguments& arguments) {
    Reading reference;
    int status = kGood;
    const bool hasReference = !arguments.reference.empty();
    if (hasReference) {
        const int error = readEither(arguments.reference, reference);
        if (error != 0) {
            return failFile(arguments.reference, error);
        }
        status = print(reference.catalog, reference.problems, stdout);
    }
    const bool isComparable = hasReference && !reference.isRefused;
    for (const std::string& path : arguments.files) {
        status = std::max(status, checkFile(path, isComparable ? &reference.catalog : nullptr));
    }
    return finishOutput(status);
}

int header(const Arguments& arguments) {
    if (!arguments.prefix.empty() && !isPrefix(arguments.prefix)) {
        return failUsage("'" + arguments.prefix + "' cannot begin the name of a constant");
    }
    if (!arguments.output.empty() && isOneOf(arguments.files, arguments.output)) {
        return failUsage("'" + arguments.output + "' is the source itself");
    }
    Catalog catalog;
    const int status = readAll(arguments.files, catalog);
    if (status != kGood) {
        return status;
    }
    const std::string text = makeHeader(
        catalog, arguments.prefix.empty() ? defaultPrefix(catalog.name) : arguments.prefix);
    if (arguments.output.empty()) {
        (void)fwrite(text.data(), 1, text.size(), stdout);  // finishOutput() sees a failure
        return finishOutput(kGood);
    }
    const int error = replaceFile(arguments.output, text);
    return error == 0 ? kGood : failFile(arguments.output, error);
}

// --- the command line ---

struct Command {
    const char* name;
    int (*run)(const Arguments& arguments);
    const char* shortOptions;
    const option* longOptions;
};

char ownName[] = "zolcat";

constexpr option kNoOptions[] = {{nullptr, 0, nullptr, 0}};
constexpr option kCheckOptions[] = {{"reference", required_argument, nullptr, 'r'},
                                    {nullptr, 0, nullptr, 0}};
constexpr option kHeaderOptions[] = {{"prefix", required_argument, nullptr, 'p'},
                                     {nullptr, 0, nullptr, 0}};
constexpr Command kCommands[] = {
    {"compile", compile, "o:", kNoOptions},
    {"dump", dump, "", kNoOptions},
    {"check", check, "", kCheckOptions},
    {"header", header, "o:", kHeaderOptions},
};

int runCommand(const Command& command, int argc, char* argv[]) {
    Arguments arguments;
    for (int letter = 0; (letter = getopt_long(argc, argv, command.shortOptions,
                                               command.longOptions, nullptr)) != -1;) {
        if (letter == '?') {
            (void)fputs(kUsage, stderr);  // what is wrong has been said
            return kTrouble;
        }
        std::string& value = letter == 'o'   ? arguments.output
                             : letter == 'r' ? arguments.reference
                                             : arguments.prefix;
        value = optarg;
        if (value.empty()) {
            return failUsage("an option has an empty argument");
        }
    }
    arguments.files.assign(argv + optind, argv + argc);
    if (arguments.files.empty()) {
        return failUsage(std::string(command.name) + " needs a file");
    }
    return command.run(arguments);
}

int run(int argc, char* argv[]) {
    const std::string name = argc > 1 ? argv[1] : "";
    if (name == "-h" || name == "--help") {
        (void)fputs(kUsage, stdout);
        (void)fputs(kHelp, stdout);
        return finishOutput(kGood);
    }
    if (name == "--version") {
        (void)printf("zolcat %d.%d.%d\n", ZOL_VERSION_MAJOR, ZOL_VERSION_MINOR, ZOL_VERSION_PATCH);
        return finishOutput(kGood);
    }
    for (const Command& command : kCommands) {
        if (name == command.name) {
            argv[1] = ownName;  // by which getopt complains
            return runCommand(command, argc - 1, argv + 1);
        }
    }
    return failUsage(name.empty() ? "no command" : "there is no command '" + name + "'");
}

}  // namespace

}  // namespace zolcat

int main(int argc, char* argv[]) {
    return zolcat::run(argc, argv);
}
