// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The X/Open format of message sources, with three directives of our own. Text is bytes: nothing
// here knows an encoding, apart from the mark that some editors put before UTF-8.
#include "source.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "ascii.h"

namespace zolcat {

namespace {

constexpr unsigned kFirstSet = 1;  // of messages that stand before any $set

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool isOctalDigit(char c) {
    return c >= '0' && c <= '7';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view takeWord(std::string_view& text) {
    const size_t length = std::min(text.find_first_of(" \t"), text.size());
    const std::string_view word = text.substr(0, length);
    text.remove_prefix(length);
    return word;
}

// The value of decimal digits; anything too large for us stays too large.
unsigned valueOf(std::string_view digits) {
    unsigned value = 0;
    for (const char digit : digits) {
        value = std::min(value * 10 + static_cast<unsigned>(digit - '0'), 1000000u);
    }
    return value;
}

bool isNumber(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

std::string inSet(unsigned number, unsigned setId) {
    return "message " + std::to_string(number) + " of set " + std::to_string(setId);
}

class Parser {
  public:
    explicit Parser(Reading& reading) : m_catalog(reading.catalog), m_problems(reading.problems) {}

    void parse(const SourceFile& source);
    void finish();

  private:
    // What is left of the file.
    bool isAtEndOfLine() const;
    char take();
    void endLine();
    std::string_view takeRestOfLine();
    std::string_view takeDigits();

    void parseLine();
    void parseMessage();
    std::string takeText();
    bool takeEscape(std::string& text);

    void parseDirective(std::string_view line);
    void startSet(std::string_view arguments);
    void deleteSet(std::string_view arguments);
    void setQuote(std::string_view arguments);
    void setCatalog(std::string_view arguments);
    void nameSet(std::string_view name);
    void nameNextMessage(std::string_view name);

    void defineMessage(unsigned number, std::string text);
    void deleteMessage(unsigned number);
    void expectNoPendingName();
    bool readSetId(std::string_view arguments, const char* directive, unsigned& setId);
    bool isGoodName(std::string_view name);
    Set& currentSet();

    void checkSize(unsigned setId, const Set& set);
    void checkConstants();

    void complain(const Place& place, std::string text);
    Place here() const { return {m_catalog.files.size() - 1, m_line}; }

    Catalog& m_catalog;
    std::vector<Problem>& m_problems;
    bool m_hasCatalog = false;
    bool m_hasEarlyMessage = false;  // one that stands before $catalog

    // In the present file:
    std::string_view m_rest;
    size_t m_line = 0;  // in which m_rest begins
    Place m_start;      // of the message or directive being read
    char m_quote = '\0';
    unsigned m_setId = kFirstSet;
    bool m_isSetGood = true;  // else its messages are read, and dropped
    std::string m_pendingName;
    Place m_pendingPlace;
};

void Parser::complain(const Place& place, std::string text) {
    m_problems.push_back({place, std::move(text)});
}

void Parser::parse(const SourceFile& source) {
    constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
    m_catalog.files.push_back(source.name);
    m_rest = source.bytes;
    m_line = 1;
    m_quote = '\0';
    m_setId = kFirstSet;
    m_isSetGood = true;
    if (m_rest.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        m_rest.remove_prefix(kByteOrderMark.size());
    }
    while (!m_rest.empty()) {
        parseLine();
    }
    expectNoPendingName();
}

bool Parser::isAtEndOfLine() const {
    return m_rest.empty() || m_rest[0] == '\n' || m_rest.substr(0, 2) == "\r\n";
}

char Parser::take() {
    const char c = m_rest[0];
    m_rest.remove_prefix(1);
    return c;
}

void Parser::endLine() {
    if (!m_rest.empty()) {
        m_rest.remove_prefix(m_rest[0] == '\r' ? 2 : 1);
        ++m_line;
    }
}

std::string_view Parser::takeRestOfLine() {
    const std::string_view start = m_rest;
    while (!isAtEndOfLine()) {
        m_rest.remove_prefix(1);
    }
    const std::string_view line = start.substr(0, start.size() - m_rest.size());
    endLine();
    return line;
}

std::string_view Parser::takeDigits() {
    const size_t length = std::min(m_rest.find_first_not_of("0123456789"), m_rest.size());
    const std::string_view digits = m_rest.substr(0, length);
    m_rest.remove_prefix(length);
    return digits;
}

void Parser::parseLine() {
    m_start = here();
    if (m_rest[0] == '$') {
        parseDirective(takeRestOfLine());
    } else if (isDigit(m_rest[0])) {
        parseMessage();
    } else if (!trimmed(takeRestOfLine()).empty()) {
        complain(m_start, "this is neither a message, nor a directive, nor a comment");
    }
}

void Parser::parseMessage() {
    const std::string_view digits = takeDigits();
    const unsigned number = valueOf(digits);
    if (number > kMaxMessageNumber) {
        complain(m_start, "message number " + std::string(digits) + " is above 65535");
    }
    if (isAtEndOfLine()) {
        endLine();
        deleteMessage(number);
        return;
    }
    if (isBlank(m_rest[0])) {
        (void)take();
    } else {
        complain(m_start, "a blank or a tab has to follow the message number");
    }
    defineMessage(number, takeText());
}

// Takes the text of a message, with the lines in which it goes on.
std::string Parser::takeText() {
    const bool isQuoted = m_quote != '\0' && !m_rest.empty() && m_rest[0] == m_quote;
    bool hasZero = false;
    std::string text;
    if (isQuoted) {
        (void)take();
    }
    while (!isAtEndOfLine()) {
        const char c = take();
        if (isQuoted && c == m_quote) {
            const Place quote = here();
            if (!trimmed(takeRestOfLine()).empty()) {
                complain(quote, "something follows the closing quote");
            }
            return text;
        }
        if (c != '\\') {
            text += c;
        } else if (!takeEscape(text)) {
            return text;
        }
        if (!hasZero && !text.empty() && text.back() == '\0') {
            complain(here(), "a text cannot have a zero byte");
            hasZero = true;
        }
    }
    if (isQuoted) {
        complain(here(), "the closing quote is missing");
    }
    endLine();
    return text;
}

// Takes what follows a backslash. @return false: the file ends here
bool Parser::takeEscape(std::string& text) {
    constexpr std::string_view kLetters = "ntvbrf";
    constexpr std::string_view kMeanings = "\n\t\v\b\r\f";
    if (isAtEndOfLine()) {
        const Place end = here();
        endLine();
        if (m_rest.empty()) {
            complain(end, "the text goes on behind the end of the file");
            return false;
        }
        return true;
    }
    const char c = take();
    if (m_quote != '\0' && c == m_quote) {
        text += c;
    } else if (isOctalDigit(c)) {
        std::string digits(1, c);
        while (digits.size() < 3 && !m_rest.empty() && isOctalDigit(m_rest[0])) {
            digits += take();
        }
        const int byte = std::stoi(digits, nullptr, 8);
        if (byte > 255) {
            complain(here(), "\\" + digits + " is above \\377");
        } else {
            text += static_cast<char>(byte);
        }
    } else {
        const size_t letter = kLetters.find(c);
        text += letter == std::string_view::npos ? c : kMeanings[letter];
    }
    return true;
}

void Parser::parseDirective(std::string_view line) {
    const std::string_view directive = takeWord(line);
    if (directive == "$") {
        return;  // a comment
    }
    const std::string_view arguments = trimmed(line);
    if (directive == "$set") {
        startSet(arguments);
    } else if (directive == "$delset") {
        deleteSet(arguments);
    } else if (directive == "$quote") {
        setQuote(arguments);
    } else if (directive == "$catalog") {
        setCatalog(arguments);
    } else if (directive == "$setname") {
        nameSet(arguments);
    } else if (directive == "$name") {
        nameNextMessage(arguments);
    } else {
        complain(m_start, "there is no directive " + std::string(directive) +
                              "; in a comment a blank follows the $");
    }
}

bool Parser::readSetId(std::string_view arguments, const char* directive, unsigned& setId) {
    const std::string_view word = takeWord(arguments);
    if (!isNumber(word)) {
        complain(m_start, std::string(directive) + " needs the number of a set");
        return false;
    }
    setId = valueOf(word);
    if (setId > kMaxId) {
        complain(m_start, "set number " + std::string(word) + " is above 255");
        return false;
    }
    return true;
}

void Parser::startSet(std::string_view arguments) {
    expectNoPendingName();
    m_isSetGood = readSetId(arguments, "$set", m_setId);
    if (m_isSetGood) {
        (void)currentSet();
    }
}

void Parser::deleteSet(std::string_view arguments) {
    unsigned setId = 0;
    expectNoPendingName();
    if (readSetId(arguments, "$delset", setId)) {
        m_catalog.sets.erase(setId);
    }
}

void Parser::setQuote(std::string_view arguments) {
    if (arguments.size() > 1 || arguments == "\\") {
        complain(m_start, "$quote takes one byte, and not a backslash");
        return;
    }
    m_quote = arguments.empty() ? '\0' : arguments[0];
}

bool Parser::isGoodName(std::string_view name) {
    if (name.empty()) {
        complain(m_start, "the name is missing");
        return false;
    }
    if (name.size() > kMaxNameLength) {
        complain(m_start,
                 "the name has " + std::to_string(name.size()) + " bytes, and can have 64");
        return false;
    }
    if (name.find('\0') != std::string_view::npos) {
        complain(m_start, "a name cannot have a zero byte");
        return false;
    }
    return true;
}

void Parser::setCatalog(std::string_view arguments) {
    if (m_hasCatalog) {
        complain(m_start, "the catalog has its $catalog in " + m_catalog.describe(m_catalog.place));
        return;
    }
    m_hasCatalog = true;
    m_catalog.place = m_start;
    const std::string_view id = takeWord(arguments);
    if (!isNumber(id)) {
        complain(m_start, "$catalog needs the number of the catalog, and its name");
        return;
    }
    m_catalog.id = valueOf(id);
    m_catalog.hasId = m_catalog.id <= kMaxId;
    if (!m_catalog.hasId) {
        complain(m_start, "catalog number " + std::string(id) + " is above 255");
    }
    const std::string_view name = trimmed(arguments);
    if (isGoodName(name)) {
        m_catalog.name = name;
    }
}

void Parser::nameSet(std::string_view name) {
    if (!isGoodName(name) || !m_isSetGood) {
        return;
    }
    Set& set = currentSet();
    if (!set.name.empty()) {
        complain(m_start, "set " + std::to_string(m_setId) + " has its name in " +
                              m_catalog.describe(set.namePlace));
        return;
    }
    set.name = name;
    set.namePlace = m_start;
}

void Parser::nameNextMessage(std::string_view name) {
    expectNoPendingName();
    if (!isIdentifier(name)) {
        complain(m_start, quoted(name) + " is not an identifier");
    } else if (isReservedName(std::string(name))) {
        complain(m_start, "the name " + std::string(name) + " is used by the header itself");
    } else {
        m_pendingName = name;
        m_pendingPlace = m_start;
    }
}

void Parser::expectNoPendingName() {
    if (!m_pendingName.empty()) {
        complain(m_pendingPlace, "no message follows $name " + m_pendingName);
        m_pendingName.clear();
    }
}

Set& Parser::currentSet() {
    const auto [entry, isNew] = m_catalog.sets.try_emplace(m_setId);
    if (isNew) {
        entry->second.place = m_start;
    }
    return entry->second;
}

void Parser::defineMessage(unsigned number, std::string text) {
    const std::string name = std::exchange(m_pendingName, "");
    if (!m_hasCatalog && !m_hasEarlyMessage) {
        complain(m_start, "a message stands before $catalog");
        m_hasEarlyMessage = true;
    }
    if (!m_isSetGood || number > kMaxMessageNumber) {
        return;
    }
    const auto [entry, isNew] = currentSet().messages.try_emplace(number);
    Message& message = entry->second;
    if (!isNew) {
        complain(m_start, inSet(number, m_setId) + " is already defined in " +
                              m_catalog.describe(message.place));
        return;
    }
    message.place = m_start;
    message.text = std::move(text);
    message.name = name;
}

void Parser::deleteMessage(unsigned number) {
    expectNoPendingName();
    const auto set = m_catalog.sets.find(m_setId);
    if (m_isSetGood && set != m_catalog.sets.end()) {
        set->second.messages.erase(number);
    }
}

// What can be told only when everything is read.
void Parser::finish() {
    if (!m_hasCatalog && !m_hasEarlyMessage) {
        complain({0, 1}, "there is no $catalog");
    }
    for (auto set = m_catalog.sets.begin(); set != m_catalog.sets.end();) {
        const bool isEmpty = set->second.messages.empty() && set->second.name.empty();
        set = isEmpty ? m_catalog.sets.erase(set) : std::next(set);
    }
    for (const auto& [id, set] : m_catalog.sets) {
        checkSize(id, set);
    }
    checkConstants();
    sortByPlace(m_problems);
}

void Parser::checkSize(unsigned setId, const Set& set) {
    size_t textBytes = 0;
    for (const auto& [number, message] : set.messages) {
        textBytes += message.text.size();
        const size_t terminators = size_t{number} + 1;
        if (textBytes + terminators > kMaxTextBytes) {
            complain(message.place, inSet(number, setId) +
                                        " does not fit: the texts of a set can have 65535 bytes, "
                                        "with one more for each message number up to the last");
            return;
        }
    }
}

void Parser::checkConstants() {
    std::map<std::string, Place> places;
    for (const auto& [id, set] : m_catalog.sets) {
        for (const auto& [number, message] : set.messages) {
            if (message.name.empty()) {
                continue;
            }
            const auto [first, isNew] = places.try_emplace(message.name, message.place);
            if (!isNew) {
                complain(message.place, "the name " + message.name + " belongs to the message in " +
                                            m_catalog.describe(first->second));
            }
        }
    }
}

}  // namespace

bool isReservedName(const std::string& name) {
    return name == "CATALOG" || name == "CATALOG_H";
}

Reading readSources(const std::vector<SourceFile>& sources) {
    Reading reading;
    Parser parser(reading);
    for (const SourceFile& source : sources) {
        parser.parse(source);
    }
    parser.finish();
    return reading;
}

}  // namespace zolcat
