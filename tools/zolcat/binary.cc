// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "binary.h"

#include <optional>
#include <utility>

namespace zolcat {

namespace {

constexpr std::string_view kMagic = "#CATALOG";
// Of the bytes counted by a header length (id, name length, terminator, set count), and by a set
// length (id, name length, terminator), without the name.
constexpr size_t kHeaderOverhead = 11;
constexpr size_t kSetOverhead = 7;
constexpr size_t kMaxSetLength = 131070;

// --- writing ---

void appendNumber(std::string& bytes, size_t value, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift & 0xff);
    }
}

void appendName(std::string& bytes, const std::string& name) {
    appendNumber(bytes, name.size(), 2);
    bytes += name;
    bytes += '\0';
}

void appendSet(std::string& bytes, unsigned id, const Set& set) {
    std::string texts;
    size_t count = 0;
    for (const auto& [number, message] : set.messages) {
        texts.append(number - count, '\0');  // the empty messages between
        texts += message.text;
        texts += '\0';
        count = number + 1;
    }
    appendNumber(bytes, kSetOverhead + set.name.size() + texts.size(), 4);
    appendNumber(bytes, id, 4);
    appendName(bytes, set.name);
    bytes += texts;
}

// --- reading ---

std::string ofBytes(size_t count) {
    return std::to_string(count) + " bytes";
}

// Walks through a catalog file as the library does, but looks closer.
class Reader {
  public:
    Reader(std::string_view bytes, Reading& reading)
        : m_bytes(bytes), m_catalog(reading.catalog), m_problems(reading.problems) {}

    /** @return whether there is a catalog: the file is not refused */
    bool read();

  private:
    /** A set record, as far as it has been read. */
    struct Record {
        size_t start;
        std::optional<size_t> end;  // by its length, where that can be
        std::optional<unsigned> id;
        Set set;
    };

    bool readMagic();
    std::optional<size_t> readHeader();
    bool readSet(size_t index, size_t count);
    bool readSetHeader(Record& record);
    bool readTexts(Record& record);
    void store(Record& record);
    bool lose(const Record& record, size_t offset, const std::string& problem);

    std::optional<size_t> takeNumber(size_t width);
    std::optional<std::string> takeName(size_t length);
    void complain(size_t offset, std::string text) {
        m_problems.push_back({{0, offset}, std::move(text)});
    }

    std::string_view m_bytes;
    size_t m_offset = 0;
    Catalog& m_catalog;
    std::vector<Problem>& m_problems;
    std::optional<unsigned> m_lastId;  // the latest that was read, where it can be one
};

// Takes a big-endian number; where the file ends before, all that is left.
std::optional<size_t> Reader::takeNumber(size_t width) {
    if (m_bytes.size() - m_offset < width) {
        m_offset = m_bytes.size();
        return std::nullopt;
    }
    size_t value = 0;
    for (const char byte : m_bytes.substr(m_offset, width)) {
        value = value << 8 | static_cast<unsigned char>(byte);
    }
    m_offset += width;
    return value;
}

// Takes a name and its terminator.
std::optional<std::string> Reader::takeName(size_t length) {
    if (m_bytes.size() - m_offset < length + 1) {
        m_offset = m_bytes.size();
        return std::nullopt;
    }
    const std::string name(m_bytes.substr(m_offset, length));
    const size_t zero = name.find('\0');
    if (zero != std::string::npos) {
        complain(m_offset + zero, "zero byte in a name: the name ends there");
    }
    m_offset += length + 1;
    if (m_bytes[m_offset - 1] != '\0') {
        complain(m_offset - 1, "a name is not terminated by a zero byte: this is ignored");
    }
    return name;
}

bool Reader::read() {
    const std::optional<size_t> setCount = readMagic() ? readHeader() : std::nullopt;
    if (!setCount) {
        return false;
    }
    for (size_t i = 0; i < *setCount; ++i) {
        if (!readSet(i, *setCount)) {
            return true;
        }
    }
    if (m_offset < m_bytes.size()) {
        complain(m_offset, ofBytes(m_bytes.size() - m_offset) + " after the last set: ignored");
    }
    return true;
}

bool Reader::readMagic() {
    if (!isCatalogFile(m_bytes)) {
        complain(0, "the file does not begin with #CATALOG: it is refused");
        return false;
    }
    m_offset = kMagic.size();
    return true;
}

// Reads the header. @return the number of sets; nothing where the file is refused
std::optional<size_t> Reader::readHeader() {
    const size_t start = m_offset;
    const auto refuse = [this](size_t offset, const std::string& problem) {
        complain(offset, problem + ": the file is refused");
    };
    const std::optional<size_t> headerLength = takeNumber(4);
    const std::optional<size_t> id = takeNumber(4);
    const std::optional<size_t> nameLength = takeNumber(2);
    const std::optional<std::string> name = nameLength ? takeName(*nameLength) : std::nullopt;
    const size_t countOffset = m_offset;
    const std::optional<size_t> setCount = name ? takeNumber(4) : std::nullopt;

    m_catalog.place = {0, start + 4};
    m_catalog.hasId = id.has_value();
    m_catalog.id = static_cast<unsigned>(id.value_or(0));
    m_catalog.name = name.value_or("");
    const size_t before = m_problems.size();
    if (headerLength && *headerLength > kHeaderOverhead + kMaxNameLength) {
        refuse(start, "the header length " + std::to_string(*headerLength) + " is above 75");
    }
    if (id && *id > kMaxId) {
        refuse(start + 4, "the catalog id " + std::to_string(*id) + " is above 255");
    }
    if (nameLength && *nameLength > kMaxNameLength) {
        refuse(start + 8, "the name length " + std::to_string(*nameLength) + " is above 64");
    }
    if (setCount && *setCount > kMaxSets) {
        refuse(countOffset, "the set count " + std::to_string(*setCount) + " is above 256");
    }
    if (nameLength && *headerLength != *nameLength + kHeaderOverhead) {
        refuse(start, "the header length is " + std::to_string(*headerLength) +
                          " where a name of " + ofBytes(*nameLength) + " makes " +
                          std::to_string(*nameLength + kHeaderOverhead));
    }
    if (!setCount) {
        refuse(m_bytes.size(), "the file ends in the header");
    }
    return m_problems.size() == before ? setCount : std::nullopt;
}

// Reads one set record. @return whether it is known where the next one begins
bool Reader::readSet(size_t index, size_t count) {
    Record record{m_offset, std::nullopt, std::nullopt, {}};
    if (m_offset == m_bytes.size()) {
        return lose(record, m_offset,
                    "the file ends after " + std::to_string(index) + " of " +
                        std::to_string(count) + " sets");
    }
    if (!readSetHeader(record) || !readTexts(record)) {
        return record.end.has_value();
    }
    store(record);
    return true;
}

// The fields before the texts. Leaves the record without an end where that cannot be known.
bool Reader::readSetHeader(Record& record) {
    const std::optional<size_t> length = takeNumber(4);
    if (!length) {
        return lose(record, m_offset, "the file ends in a set length");
    }
    if (m_bytes.size() - m_offset >= *length) {
        record.end = m_offset + *length;
    }
    if (*length > kMaxSetLength) {
        return lose(record, record.start,
                    "the set length " + std::to_string(*length) + " is above 131070");
    }
    const size_t idOffset = m_offset;
    const std::optional<size_t> id = takeNumber(4);
    if (!id) {
        return lose(record, m_offset, "the file ends in a set id");
    }
    record.id = static_cast<unsigned>(*id);
    record.set.place = {0, record.start};
    m_lastId.reset();
    if (*id > kMaxId) {
        return lose(record, idOffset, "the set id " + std::to_string(*id) + " is above 255");
    }
    m_lastId = record.id;
    const size_t nameOffset = m_offset;
    const std::optional<size_t> nameLength = takeNumber(2);
    if (nameLength && *nameLength > kMaxNameLength) {
        return lose(record, nameOffset,
                    "the name length " + std::to_string(*nameLength) + " is above 64");
    }
    const std::optional<std::string> name = nameLength ? takeName(*nameLength) : std::nullopt;
    if (!name) {
        return lose(record, m_offset, "the file ends in the head of a set");
    }
    record.set.name = *name;
    if (*length < *nameLength + kSetOverhead) {
        record.end.reset();
        return lose(record, record.start,
                    "the set length is " + std::to_string(*length) +
                        " where the name alone makes " +
                        std::to_string(*nameLength + kSetOverhead));
    }
    return true;
}

bool Reader::readTexts(Record& record) {
    // The length is good, so without an end the file is too short.
    const size_t end = record.end.value_or(m_bytes.size() + 1);
    const size_t base = m_offset;
    for (unsigned number = 0; m_offset < end; ++number) {
        const size_t zero = m_bytes.find('\0', m_offset);
        const size_t start = m_offset;
        if (zero == std::string_view::npos) {
            m_offset = m_bytes.size();
            return lose(record, m_offset,
                        "the file ends in message " + std::to_string(number) + " of set " +
                            std::to_string(*record.id));
        }
        m_offset = zero + 1;
        if (m_offset - base > kMaxTextBytes) {
            return lose(record, start,
                        "with message " + std::to_string(number) +
                            " the texts of the set have more than 65535 bytes");
        }
        if (m_offset > end) {
            return lose(record, start,
                        "the text of message " + std::to_string(number) +
                            " runs beyond the end of the set");
        }
        if (zero > start) {
            Message& message = record.set.messages[number];
            message.place = {0, start};
            message.text = m_bytes.substr(start, zero - start);
        }
    }
    return true;
}

void Reader::store(Record& record) {
    const auto earlier = m_catalog.sets.find(*record.id);
    if (earlier != m_catalog.sets.end()) {
        complain(record.start, "set " + std::to_string(*record.id) +
                                   " comes again: the one at byte " +
                                   std::to_string(earlier->second.place.number) + " is lost");
    }
    m_catalog.sets[*record.id] = std::move(record.set);
}

// Says what is wrong with a set record and what the library makes of it: in place of the record
// it keeps an empty set, under the latest id it has read, and it goes on where it stands.
bool Reader::lose(const Record& record, size_t offset, const std::string& problem) {
    std::string effect = ": the set is lost";
    if (!record.id && m_lastId) {
        effect = ": set " + std::to_string(*m_lastId) + ", read before, is lost";
    }
    if (record.end ? m_offset != *record.end : m_offset < m_bytes.size()) {
        effect += ", and the next one is looked for at byte " + std::to_string(m_offset);
    }
    complain(offset, problem + effect);
    if (m_lastId) {
        m_catalog.sets.erase(*m_lastId);
    }
    if (record.end) {
        m_offset = *record.end;
    }
    return false;
}

}  // namespace

std::string writeCatalog(const Catalog& catalog) {
    std::string bytes(kMagic);
    appendNumber(bytes, kHeaderOverhead + catalog.name.size(), 4);
    appendNumber(bytes, catalog.id, 4);
    appendName(bytes, catalog.name);
    appendNumber(bytes, catalog.sets.size(), 4);
    for (const auto& [id, set] : catalog.sets) {
        appendSet(bytes, id, set);
    }
    return bytes;
}

bool isCatalogFile(std::string_view bytes) {
    return bytes.substr(0, kMagic.size()) == kMagic;
}

Reading readCatalogFile(const std::string& file, std::string_view bytes) {
    Reading reading;
    reading.catalog.files = {file};
    reading.catalog.isBinary = true;
    reading.isRefused = !Reader(bytes, reading).read();
    sortByPlace(reading.problems);
    return reading;
}

}  // namespace zolcat
