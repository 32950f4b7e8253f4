// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A catalog file is a head and set records, back to back:
//
//     head  "#CATALOG"  length: 4  id: 4  name length: 2  name, NUL  number of sets: 4
//     set                length: 4  id: 4  name length: 2  name, NUL  texts, each with its NUL
//
// A length counts the bytes behind itself (that of the head up to and including the number of
// sets). The texts of a set are numbered from 0 in the order in which they stand. Widths are in
// bytes; docs/catalog-format.md has an example.

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "zol/cat.h"

#include "big_endian.h"
#include "slots.h"

namespace zol {
namespace cat {

namespace {

const char kMagic[] = {'#', 'C', 'A', 'T', 'A', 'L', 'O', 'G'};
constexpr uint32_t kMaxId = 255;
constexpr uint32_t kMaxNameLength = 64;
constexpr uint32_t kMaxSetCount = 256;
constexpr uint32_t kMaxTextBytes = UINT16_MAX;  // of a set, with their NULs
// What a head's and a set's length count besides their name and texts.
constexpr uint32_t kHeadBytes = 11;
constexpr uint32_t kSetBytes = 7;
constexpr uint32_t kMaxHeadLength = kHeadBytes + kMaxNameLength;
constexpr uint32_t kMaxSetLength = 0x1FFFE;

// Reads a name, its length before it and its terminator, whatever that is, behind it.
bool readName(FILE* stream, CStr& name) {
    uint16_t length = 0;
    char bytes[kMaxNameLength + 1];
    if (!readBigEndian(stream, length) || length > kMaxNameLength ||
        fread(bytes, length + 1U, 1, stream) != 1) {
        return false;
    }
    name.set(bytes, length);
    return name.getLength() == length;  // else there was no memory
}

// Reads a text to its NUL. `length` may be more than a set can have.
bool skipText(FILE* stream, uint64_t& length) {
    for (length = 0;; ++length) {
        const int byte = getc_unlocked(stream);
        if (byte == EOF) {
            return false;
        }
        if (byte == '\0') {
            return true;
        }
    }
}

// Reads texts until `size` bytes are consumed, and notes where they lie. Texts that overrun the
// size are read to their end all the same.
bool readTexts(FILE* stream, uint32_t size, CTab<CMessage>& messages) {
    constexpr int kBatch = 256;  // a table that grew for each would copy itself again and again
    CMessage batch[kBatch];
    int count = 0;
    uint64_t consumed = 0;
    while (consumed < size) {
        const uint64_t offset = consumed;
        uint64_t length = 0;
        if (!skipText(stream, length)) {
            return false;
        }
        consumed += length + 1;
        if (consumed > kMaxTextBytes) {
            return false;
        }
        batch[count++] = CMessage(static_cast<uint16_t>(offset), static_cast<uint16_t>(length));
        if (count == kBatch || consumed >= size) {
            if (messages.append(batch, count) == -1) {
                return false;
            }
            count = 0;
        }
    }
    return consumed == size;
}

// Reads `length` bytes at `position`, past whatever the stream has buffered: they may have changed.
bool readAt(FILE* stream, off_t position, char* bytes, size_t length) {
    const int fd = fileno(stream);
    if (fd != -1) {
        return pread(fd, bytes, length, position) == static_cast<ssize_t>(length);
    }
    // A stream in memory, or made by somebody's functions.
    return fseeko(stream, position, SEEK_SET) == 0 && fread(bytes, length, 1, stream) == 1;
}

bool closeOnExec(FILE* stream) {
    const int fd = fileno(stream);
    const int flags = fd == -1 ? -1 : fcntl(fd, F_GETFD);
    return flags != -1 && fcntl(fd, F_SETFD, flags | FD_CLOEXEC) != -1;
}

// Reads the head of a file. The id is stored into `catalogId` whatever it is, and into the file's
// `id` when it can be one.
bool readHead(FILE* stream, unsigned& catalogId, uint32_t& id, CStr& name, uint32_t& setCount) {
    char magic[sizeof kMagic];
    uint32_t length = 0;
    if (fread(magic, sizeof magic, 1, stream) != 1 || memcmp(magic, kMagic, sizeof magic) != 0 ||
        !readBigEndian(stream, length) || length > kMaxHeadLength ||
        !readBigEndian(stream, catalogId) || catalogId > kMaxId) {
        return false;
    }
    id = catalogId;
    return readName(stream, name) && readBigEndian(stream, setCount) && setCount <= kMaxSetCount &&
           length == kHeadBytes + static_cast<uint32_t>(name.getLength());
}

// Reads `count` set records into the slots of their ids; the last one of an id stays.
bool readSets(FILE* stream, uint32_t count, CTab<CSet>& sets) {
    uint32_t id = kMaxId + 1;  // none has been read
    for (uint32_t i = 0; i < count; ++i) {
        CSet set;
        // Deliberate: a record at fault does not fail the file. It leaves an empty set under the
        // last id read, be it that of the record before, whose set is lost thereby; and the next
        // record is read from where the stream stands.
        // Pinned by DamagedFile.ASetWithoutReadableIdEmptiesTheOneBeforeIt.
        (void)set.read(stream, id);
        if (id > kMaxId) {
            continue;
        }
        CSet* const slot = slotOf(sets, id);
        if (slot == nullptr) {
            return false;
        }
        *slot = set;
    }
    return true;
}

}  // namespace

// --- messages ---

static_assert(sizeof(CMessage) == 4);

int CMessage::getMessage(FILE* stream, unsigned base, CStr& text) const {
    // Deliberate: an empty text counts as missing. Pinned by CatalogFile.AnEmptyMessageIsMissing.
    if (m_length == 0 || stream == nullptr) {
        return -1;
    }
    char* const bytes = xstr_get_buffer(text.handle(), m_length + 1);
    if (bytes == nullptr) {
        return -1;
    }
    if (!readAt(stream, static_cast<off_t>(base) + m_offset, bytes, m_length)) {
        xstr_free(text.handle());
        return -1;
    }
    bytes[m_length] = '\0';
    xstr_release_buffer(text.handle(), m_length + 1);
    return 0;
}

void CMessage::dump(FILE* stream, unsigned base, unsigned id, FILE* out) const {
    CStr text;
    if (getMessage(stream, base, text) == 0) {
        fprintf(out, "    __xmsg__(0x%08x): \"%s\"\n", id, text.get());
    }
}

// --- sets ---

static_assert(sizeof(void*) != 4 || sizeof(CSet) == 12);

int CSet::read(FILE* stream, unsigned& setId) {
    uint32_t length = 0;
    CStr name;
    if (!readBigEndian(stream, length) || length > kMaxSetLength || !readBigEndian(stream, setId) ||
        setId > kMaxId || !readName(stream, name)) {
        return -1;
    }
    const off_t base = ftello(stream);  // -1 where the stream cannot seek: then lookups fail
    const uint32_t headLength = kSetBytes + static_cast<uint32_t>(name.getLength());
    CTab<CMessage> messages;
    if (base > UINT32_MAX || headLength > length ||
        !readTexts(stream, length - headLength, messages)) {
        return -1;
    }
    m_name = static_cast<CStr&&>(name);
    m_base = static_cast<uint32_t>(base);
    m_messages = static_cast<CTab<CMessage>&&>(messages);
    return 0;
}

int CSet::getMessage(unsigned id, FILE* stream, CStr& text) const {
    const unsigned number = id & 0xFFFF;
    if (number >= static_cast<unsigned>(m_messages.getCount())) {
        return -1;
    }
    return m_messages[static_cast<int>(number)].getMessage(stream, m_base, text);
}

void CSet::dump(FILE* stream, unsigned id, FILE* out) const {
    fprintf(out, "  SET '%s' (id=%u):\n", m_name.get(), id >> 16 & 0xFF);
    for (const CMessage& message : m_messages) {
        message.dump(stream, m_base, id++, out);
    }
}

// --- files ---

static_assert(sizeof(void*) != 4 || sizeof(CFile) == 16);

CFile::~CFile() {
    if (m_stream != nullptr) {
        (void)fclose(m_stream);  // only read from: nothing can be lost
    }
}

CFile& CFile::operator=(const CFile& other) = default;

FILE* CFile::releaseStream() {
    FILE* const stream = m_stream;
    m_stream = nullptr;
    return stream;
}

int CFile::open(const char* path, unsigned& catalogId) {
    FILE* const stream = fopen(path, "r");
    if (stream == nullptr) {
        return -1;
    }
    if (!closeOnExec(stream)) {
        if (fclose(stream) != 0) {
            perror("");
        }
        return -1;
    }
    CStr name;
    uint32_t setCount = 0;
    CTab<CSet> sets;
    if (!readHead(stream, catalogId, m_id, name, setCount) || !readSets(stream, setCount, sets)) {
        (void)fclose(stream);
        return -1;
    }
    // Its buffer is not used again. This late glibc gives it back; others ignore the call.
    (void)setvbuf(stream, nullptr, _IONBF, 0);
    if (m_stream != nullptr) {
        (void)fclose(m_stream);
    }
    m_name = static_cast<CStr&&>(name);
    m_stream = stream;
    m_sets = static_cast<CTab<CSet>&&>(sets);
    return 0;
}

int CFile::getMessage(unsigned id, CStr& text) const {
    const unsigned set = id >> 16 & 0xFF;
    if (set >= static_cast<unsigned>(m_sets.getCount())) {
        return -1;
    }
    return m_sets[static_cast<int>(set)].getMessage(id, m_stream, text);
}

void CFile::dump(FILE* out) const {
    fprintf(out, "CATALOG '%s' (id=%u):\n", m_name.get(), m_id);
    unsigned id = m_id << 24;
    for (const CSet& set : m_sets) {
        set.dump(m_stream, id, out);
        id += 1U << 16;
    }
}

}  // namespace cat
}  // namespace zol

int xcat_dump_file(const char* path, FILE* out) {
    zol::cat::CFile file;
    unsigned id = 0;
    const int result = file.open(path, id);
    if (result == 0) {
        file.dump(out);
    }
    return result;
}
