// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ZOLCAT_CATALOG_H
#define ZOLCAT_CATALOG_H

#include <map>
#include <stddef.h>
#include <stdint.h>
#include <string>
#include <vector>

namespace zolcat {

constexpr unsigned kMaxId = 255;  // of catalogs and of sets
constexpr unsigned kMaxMessageNumber = 65535;
constexpr size_t kMaxNameLength = 64;
constexpr size_t kMaxSets = 256;
// The texts of a set, each with its terminator: readers keep their positions in 16 bits.
constexpr size_t kMaxTextBytes = 65535;

/** Where something stands. */
struct Place {
    size_t file = 0;    // index in Catalog::files
    size_t number = 0;  // a line, from 1; in a catalog file a byte, from 0
};

struct Problem {
    Place place;
    std::string text;
};

/** Sorts by files, then by lines or bytes. */
void sortByPlace(std::vector<Problem>& problems);

struct Message {
    Place place;
    std::string text;
    std::string name;  // of its constant; empty: none
};

struct Set {
    Place place;
    std::string name;
    Place namePlace;
    // By number, those that were given. The numbers between are empty messages in a catalog file.
    std::map<unsigned, Message> messages;
};

struct Catalog {
    std::vector<std::string> files;  // the sources, or the one catalog file
    bool isBinary = false;
    Place place;         // of the id
    bool hasId = false;  // else a problem has been said
    unsigned id = 0;
    std::string name;
    std::map<unsigned, Set> sets;

    /** "FILE:LINE", or "FILE:byte OFFSET". */
    std::string describe(const Place& where) const;
    /** "FILE:LINE: text": one line, whatever bytes it quotes. */
    std::string describe(const Problem& problem) const;
    /** The message where it has a text, else null: an empty one counts as missing. */
    const Message* find(unsigned setId, unsigned number) const;
};

/** What was read, as far as it could be, and everything that is wrong with it. */
struct Reading {
    Catalog catalog;
    std::vector<Problem> problems;
    bool isRefused = false;  // a catalog file that the library does not open: there is no catalog
};

/** The number by which programs ask for a message. */
uint32_t messageId(unsigned catalogId, unsigned setId, unsigned number);

}  // namespace zolcat

#endif
