/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_CAT_H
#define ZOL_CAT_H

/**
 * @file zol/cat.h
 * Message catalogs: the texts of a program, in files, one catalog a language.
 *
 *     xstr text;
 *     xstr_init(&text);
 *     xcat_registry* texts = xcat_create("en");
 *     xcat_add_catalogs(texts, "/usr/share/gardend/%s/texts.cat");
 *     if (xcat_msg(xcat_get_catalog(texts, "de"), GARDEND_VALVE_OPEN, &text) != 0) {
 *         xstr_set(&text, "valve open", -1);  // nothing falls back to another language
 *     }
 *     puts(text);
 *     xstr_free(&text);
 *     xcat_close(texts);
 *
 * A message has an id of 32 bits: the id of its catalog in bits 31 to 24, that of its set in bits
 * 23 to 16, its number in the set in bits 15 to 0. Texts are bytes; no encoding is imposed. An
 * empty text counts as missing. docs/catalog-format.md describes the files; zolcat(1) makes and
 * checks them, and makes headers with the ids.
 *
 * Texts stay in their files: opening a file reads it once, to check it and to note where each
 * text lies (four bytes of memory a message); a lookup reads the text from the file, which stays
 * open. Nothing is ever loaded anew. What will bite: a file that is written to while it is open
 * yields whatever lies at the noted places. Replace it with rename(2), and make a new registry.
 *
 * Unless a function says otherwise:
 *  - pointers are not null;
 *  - the result is 0, or -1 for whatever went wrong, the lack of memory included;
 *  - files that cannot be read are skipped without a word, and nothing is logged (but see
 *    xstr_vformat() for paths of more than 511 bytes);
 *  - a registry with its catalogs belongs to one thread at a time.
 */

#include <stdint.h>
#include <stdio.h>

#include "zol/export.h"
#include "zol/str.h"
#include "zol/tab.h"

#ifdef __cplusplus
namespace zol {
namespace cat {
class CCatalog;
class CInterCatalog;
}  // namespace cat
}  // namespace zol
/** All languages. */
typedef zol::cat::CInterCatalog xcat_registry;
/** One language. */
typedef zol::cat::CCatalog xcat_catalog;
#else
/** All languages. Opaque. */
typedef struct xcat_registry xcat_registry;
/** One language. Opaque. */
typedef struct xcat_catalog xcat_catalog;
#endif

ZOL_BEGIN_DECLS

/**
 * Makes a registry without languages.
 *
 * @param defaultLanguage  used, not copied, until the registry is closed
 * @return                 to be given to xcat_close(); null without memory
 */
ZOL_API xcat_registry* xcat_create(const char* defaultLanguage);

/** See zol::cat::CInterCatalog::addCatalogs(). */
ZOL_API void xcat_add_catalogs(xcat_registry* registry, const char* pattern);

/** See zol::cat::CInterCatalog::getCatalog(). @return owned by the registry; may be null */
ZOL_API xcat_catalog* xcat_get_catalog(xcat_registry* registry, const char* language);

/** See zol::cat::CCatalog::openFile(). */
ZOL_API int xcat_open_file(xcat_catalog* catalog, const char* path);

/**
 * Looks a message up.
 *
 * @param catalog  null, as xcat_get_catalog() may answer, has no messages
 * @param text     an initialised string, which receives the text
 * @return         as zol::cat::CFile::getMessage()
 */
ZOL_API int xcat_msg(const xcat_catalog* catalog, unsigned id, xstr* text);

/** Destroys the registry with all its catalogs and closes their files; null is ignored. */
ZOL_API void xcat_close(xcat_registry* registry);

/**
 * Prints a catalog file: its name, its sets and its messages, the texts as they stand.
 *
 *     CATALOG 'gardend' (id=1):
 *       SET 'valves' (id=0):
 *         __xmsg__(0x01000000): "Valve open"
 *
 * Ids that no set has, below the highest that one has, are printed as sets without name and
 * messages; messages that are empty or cannot be read are left out.
 *
 * @return 0; -1 when the file cannot be opened or is not a catalog file
 */
ZOL_API int xcat_dump_file(const char* path, FILE* out);

ZOL_END_DECLS

#ifdef __cplusplus

namespace zol {
namespace cat {

/** Where the text of one message lies. */
class ZOL_API CMessage {
  public:
    CMessage() : m_offset(0), m_length(0) {}
    /** See getOffset() and getLength(). */
    CMessage(uint16_t offset, uint16_t length) : m_offset(offset), m_length(length) {}

    /** @return from the base position of its set to its first byte */
    unsigned getOffset() const { return m_offset; }
    /** @return bytes in the text, its NUL excluded */
    unsigned getLength() const { return m_length; }

    /**
     * Reads the text, with one system call where `stream` is a file.
     *
     * @param base  that of the set
     * @return      as CFile::getMessage()
     */
    int getMessage(FILE* stream, unsigned base, CStr& text) const;

    /** Prints the message, where it can be read. @param id all 32 bits of it */
    void dump(FILE* stream, unsigned base, unsigned id, FILE* out) const;

  private:
    uint16_t m_offset;
    uint16_t m_length;
};

/** One set of a catalog file. */
class ZOL_API CSet {
  public:
    CSet() : m_base(0) {}

    /** @return the name that stands in the file */
    const CStr& getName() const { return m_name; }
    /** @return file position of the first byte behind the set's name */
    unsigned getBase() const { return m_base; }
    /** @return the messages by their number */
    const CTab<CMessage>& getMessages() const { return m_messages; }

    /**
     * Reads the set record at which `stream` stands.
     *
     * @param setId  receives the set's id as soon as it has been read, also one that is too large
     *
     * After a failure the set is as it was, and the stream stands where the fault was seen. Where
     * the stream cannot seek, the set has its messages, but lookups fail.
     */
    int read(FILE* stream, unsigned& setId);

    /** As CFile::getMessage(). @param stream the file that the set was read from */
    int getMessage(unsigned id, FILE* stream, CStr& text) const;

    /** Prints the set. @param id id of its message 0, which tells its catalog and its own id */
    void dump(FILE* stream, unsigned id, FILE* out) const;

  private:
    CStr m_name;
    uint32_t m_base;
    CTab<CMessage> m_messages;
};

/**
 * One catalog file, open from open() until its destruction.
 *
 * What will bite: a stream has one owner, though records can be copied. A copy-constructed file
 * has none, and its lookups fail. An assigned one has the same stream as the other, which must
 * give it up with releaseStream(); and what it had open before is not closed.
 */
class ZOL_API CFile {
  public:
    CFile() : m_id(0), m_stream(nullptr) {}
    /** Has what is known of the file, but not the stream. */
    CFile(const CFile& other)
        : m_id(other.m_id), m_name(other.m_name), m_stream(nullptr), m_sets(other.m_sets) {}
    ~CFile();
    /** Has the stream of `other`, too, see above. */
    CFile& operator=(const CFile& other);

    /** @return the catalog's id */
    unsigned getId() const { return m_id; }
    /** @return the catalog's name */
    const CStr& getName() const { return m_name; }
    /** @return the open file, owned by this record; null when there is none */
    FILE* getStream() const { return m_stream; }
    /** @return the sets by their id; those that the file does not have are empty */
    const CTab<CSet>& getSets() const { return m_sets; }

    /** Gives the open file up without closing it. @return it, for the caller to own; or null */
    FILE* releaseStream();

    /**
     * Opens a catalog file and reads its structure.
     *
     * @param catalogId  receives the catalog's id as soon as it has been read, also one that is
     *                   too large
     *
     * A file whose head is at fault is refused; this record keeps what it had then, but for the
     * id, which may be the new one already. Success closes what was open before. A set that is at
     * fault, or for which there is no memory, does not fail the file: it is empty then, or, where
     * not even its id could be read, the set before it; and reading goes on where the fault was
     * seen. The descriptor is closed on exec; where that cannot be arranged the file is refused,
     * and where it cannot be closed then, perror(3) says so.
     */
    int open(const char* path, unsigned& catalogId);

    /**
     * Looks a message up by its set and number; bits 31 to 24 of `id` are not looked at.
     *
     * @return 0; -1 with `text` as it was when the message is missing or empty, with an empty
     *         `text` when reading failed, and with either when there was no memory
     */
    int getMessage(unsigned id, CStr& text) const;

    /** Prints the file, see xcat_dump_file(). */
    void dump(FILE* out) const;

  private:
    uint32_t m_id;
    CStr m_name;
    FILE* m_stream;
    CTab<CSet> m_sets;
};

/**
 * The catalog files of one language.
 *
 * What will bite: copies share their files until a file is added to one of them; that one cannot
 * read the files any more that it had. Take a registry's catalog by pointer or reference.
 */
class ZOL_API CCatalog {
  public:
    /**
     * Opens a catalog file. It takes the place of an earlier one with the same id, for good; that
     * one's messages are gone, but its descriptor stays open until the process ends.
     */
    int openFile(const char* path);

    /** Looks a message up, here and nowhere else. @return as CFile::getMessage() */
    int getMessage(unsigned id, CStr& text) const;

    /** @return the files by their catalog's id; those that there are not are empty */
    const CTab<CFile>& getFiles() const { return m_files; }

  private:
    CTab<CFile> m_files;
};

/**
 * The registry: the catalogs of all languages, the default language's first.
 *
 *     zol::cat::CInterCatalog texts("en", "/usr/share/gardend/%s/texts.cat");
 *     zol::cat::CCatalog* german = texts.getCatalog("de");  // English, where there is no German
 *     zol::CStr text;
 *     if (german->getMessage(GARDEND_VALVE_OPEN, text) == 0) { ... }
 *
 * What will bite: a catalog lives in the registry's table, which moves when a language is added.
 * Ask for it again rather than keep it across a getCatalog() for another language.
 */
class ZOL_API CInterCatalog {
  public:
    /** One language. */
    class ZOL_API CInter {
      public:
        CInter() = default;
        /** A language without files. */
        explicit CInter(const char* name) : m_name(name) {}
        /** Shares the other one's files. */
        CInter(const CInter& other) = default;
        ~CInter();
        /** Shares the other one's files. */
        CInter& operator=(const CInter& other);

        /** @return the name of the language */
        const CStr& getName() const { return m_name; }
        /** @return its files */
        CCatalog& getCatalog() { return m_catalog; }

        /** Opens the files in their order, skipping those that cannot be read. @return 0 */
        int open(CTab<CStr>& paths);

      private:
        CStr m_name;
        CCatalog m_catalog;
    };

    /**
     * @param defaultLanguage  used, not copied, as long as the registry lives
     * @param pattern          given to addCatalogs(); null for none yet
     */
    CInterCatalog(const char* defaultLanguage, const char* pattern);
    CInterCatalog(const CInterCatalog&) = delete;
    CInterCatalog& operator=(const CInterCatalog&) = delete;

    /**
     * Adds all files found for the default language to its catalog.
     *
     * @param pattern  as for findFiles(); from now on the only one in which other languages are
     *                 looked for. Those that were loaded before stay as they are.
     */
    void addCatalogs(const char* pattern);

    /**
     * Finds the catalog of a language, loading it the first time.
     *
     * @param language  becomes part of a path with wildcards: never hand on what a stranger sent
     * @return          the default language's catalog where no file is found for this one, which
     *                  is then looked for again every time; null when there is not even that one,
     *                  before the first addCatalogs(). Owned by the registry, good until the next
     *                  call for another language.
     */
    CCatalog* getCatalog(const char* language);

    /**
     * Finds the files of a language, see glob(7).
     *
     * @param pattern  a path with wildcards, in which a "%s", at most one, stands for the language
     *                 and "%%" for a percent sign; one with any other "%" finds nothing. The
     *                 folders have to be the program's own: a FIFO there blocks who opens it.
     * @return         their paths in the order of glob(3), which sorts them as the locale says;
     *                 none also for a null language, and when glob(3) failed
     */
    static CTab<CStr> findFiles(const char* language, CStr pattern);

  private:
    ZOL_LOCAL CInter* addLanguage(const char* name);

    const char* m_defaultLanguage;
    CTab<CInter> m_languages;
    CStr m_pattern;
};

}  // namespace cat
}  // namespace zol

#endif
#endif
