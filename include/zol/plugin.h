/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_PLUGIN_H
#define ZOL_PLUGIN_H

/**
 * @file zol/plugin.h
 * Dynamic libraries, and plug-ins: libraries that are loaded with those they depend on.
 *
 *     zol::CPlugIns drivers;
 *     drivers.addPatterns("/usr/lib/gardend/valve-*.so:/usr/lib/gardend/sensor-*.so");
 *     zol::CPlugIn* relay = drivers.findPlugIn("/usr/lib/gardend/valve-relay.so");
 *
 * docs/plugins.md is for those who write plug-ins.
 *
 * Unless a function says otherwise:
 *  - texts passed in are not null and used until the call returns, whatever plug-ins do meanwhile;
 *  - what goes wrong with the loader is logged at priority 3, and every library that is opened at
 *    priority 6; the lack of memory is a failure like others;
 *  - an object, and a manager with its plug-ins, belongs to one thread at a time.
 *
 * What will bite: code of a library that has been closed is not there any more. Whoever closes
 * one must not be called from it, and nothing may be left that points into it: objects with
 * virtual functions, callbacks, texts, exceptions.
 */

#include "zol/export.h"
#include "zol/str.h"
#include "zol/tab.h"

ZOL_BEGIN_DECLS

/**
 * Looks a symbol up among those that are visible to the whole process: the program's own, as far
 * as it exports them (link it with -rdynamic), those of the libraries that it is linked with, and
 * those of every library opened by zol::CDynLib.
 *
 * @return its address; null when there is none, which is logged as by zol::CDynLib::getSymbol()
 *
 * Any thread. The first call opens the main program, which is logged, until the process ends.
 */
ZOL_API void* xlib_get_symbol(const char* symbol);

ZOL_END_DECLS

#ifdef __cplusplus

namespace zol {

/**
 * One library of the system's loader, see dlopen(3): closed when destroyed.
 *
 *     zol::CDynLib library("/usr/lib/gardend/moon.so");
 *     using Phase = int (*)(long);
 *     const auto phase = reinterpret_cast<Phase>(library.getSymbol("moon_phase"));
 *     if (phase != nullptr) { ... }
 *
 * What will bite: a library has one owner. A copy has the name, but is closed. And on a closed
 * library close() ends the program with glibc, while getSymbol() looks in the whole process.
 */
class ZOL_API CDynLib {
  public:
    CDynLib() : m_handle(nullptr) {}
    /** Opens the library; isOpen() tells how that went. */
    explicit CDynLib(const char* file);
    /** Has the name, but is closed. */
    CDynLib(const CDynLib& other) : m_name(other.m_name), m_handle(nullptr) {}
    CDynLib& operator=(const CDynLib&) = delete;
    ~CDynLib();

    /** @return the file that was opened, kept by close(); empty for the main program, and after an
     *          open() that failed */
    const CStr& getName() const { return m_name; }
    /** @return whether a library is open */
    bool isOpen() const { return m_handle != nullptr; }

    /**
     * Opens a library with all that it is linked with, whose symbols have to be found at once; its
     * own become visible to all libraries that are opened later.
     *
     * @param file  a path; or a name without "/", which the loader looks for where it looks for the
     *              libraries of libzol, not in the working folder; null, and with glibc "", for the
     *              main program
     * @return      whether it is open
     *
     * What was open before is closed afterwards, whether or not the new one could be opened.
     */
    bool open(const char* file);

    /**
     * Closes the library. It goes when nobody has it open any more.
     *
     * @return as dlclose(3), which is called with null for a closed library, too
     */
    int close();

    /** @return address of a symbol of the library or of one that it is linked with; null when
     *          there is none, which is logged: "Cannot found symbol: ..." */
    void* getSymbol(const char* symbol);

  protected:
    /** @return whether there was memory for it */
    ZOL_LOCAL bool setName(const char* name);
    /** Takes over what the other has open; nothing is open here. */
    ZOL_LOCAL void take(CDynLib& other);

  private:
    CStr m_name;
    void* m_handle;
};

/**
 * What a plug-in is to its program: a class derived from this one, of which its entry function
 * answers an object. The plug-in owns it; nobody else destroys it. Slot order is part of the
 * binary interface.
 *
 * `host` is always the program: host.getSymbol() finds what it exports. An exception that leaves
 * one of these functions goes to whoever called the manager, see there.
 */
class ZOL_API CPlugInInstance {
  public:
    virtual ~CPlugInInstance();

    /** The plug-in is there, and so is all that it depends on. Does nothing here. */
    virtual void onLoad(CDynLib& host);

    /** The plug-in is about to go; those that depend on it may have gone or not. Does nothing
     *  here. */
    virtual void onClose(CDynLib& host);

    /**
     * An update pass asks the plug-in how it is, see CPlugIns::updateAll().
     *
     * @param settled  to be increased by a plug-in in working order
     * @return         other than 0 when the plug-in has changed something that others may wait for
     *
     * Here it is in working order, and answers 0.
     */
    virtual int onUpdate(CDynLib& host, int* settled);
};

/**
 * One plug-in: a library with an entry function, zol_getPlugIn(), its own or of a library that it
 * is linked with.
 *
 * What will bite: destroying an open plug-in closes its library without onClose(); and closing one
 * as a CDynLib leaves an instance that is not there any more.
 */
class ZOL_API CPlugIn : public CDynLib {
  public:
    CPlugIn() : m_instance(nullptr) {}
    /** Has the name, but is closed. */
    CPlugIn(const CPlugIn& other) : CDynLib(other), m_instance(nullptr) {}
    CPlugIn& operator=(const CPlugIn&) = delete;

    /** @return owned by the plug-in, good until that is closed; null when there is none */
    CPlugInInstance* getInstance() const { return m_instance; }

    /**
     * Opens the library, asks its entry function for the instance and calls onLoad(). One that is
     * open is closed before, as by close().
     *
     * @return false when the library cannot be opened or has no entry function; it is closed then
     */
    bool open(const char* file, CDynLib& host);

    /** Forgets the instance, after its onClose(), and closes the library. @return as
     *  CDynLib::close() */
    int close(CDynLib& host);

    /** @return what onUpdate() answers; 0 without an instance */
    int update(CDynLib& host, int* settled);

  private:
    friend class CPlugIns;
    using Entry = CPlugInInstance* (*)();

    ZOL_LOCAL static Entry openLibrary(CDynLib& library, const char* file);
    ZOL_LOCAL bool closeNext(CDynLib& host);
    ZOL_LOCAL bool closeInstance(CDynLib& host);

    CPlugInInstance* m_instance;
};

/**
 * The plug-ins of a program, in the order in which they were loaded.
 *
 * Plug-ins may add and remove others, also while they are loaded, updated or closed. What will
 * bite: one that removes itself returns to code that is not there any more; plug-ins live in a
 * table that moves when one is added, so a CPlugIn* is good until something is added or removed;
 * and a manager must be destroyed before main() returns, for static objects of plug-ins go before
 * one that is static.
 *
 * An exception of a plug-in passes through: one of the entry function or of onLoad() leaves the
 * plug-in loaded with what it has, to be removed; one of onClose() leaves it loaded without its
 * instance; one of onUpdate() ends the passes. What will bite: it must be gone before its plug-in
 * goes; one of onClose() ends the program where the manager is destroyed; and one that comes from
 * the loading of a dependency or of a match costs the memory of the lists that it passes.
 */
class ZOL_API CPlugIns {
  public:
    /** Opens the main program, the host of the plug-ins. */
    CPlugIns();
    /** Closes the plug-ins, those that were loaded first first. */
    ~CPlugIns();
    CPlugIns(const CPlugIns&) = delete;
    CPlugIns& operator=(const CPlugIns&) = delete;

    /** @return all of them; good until something is added or removed, and not to be copied */
    const CTab<CPlugIn, 8, xtabh_s>& getPlugIns() const { return m_plugIns; }

    /** @return the first plug-in that was loaded by exactly this name; null when there is none */
    CPlugIn* findPlugIn(const char* file);

    /**
     * Loads a plug-in, after those that its dependency file names: the file of its own name with
     * ".dep" behind it. One that cannot be loaded does not stop the others.
     *
     * @param update  other than 0: updateAll() afterwards, when it has been loaded
     * @param level   0; dependencies are loaded with the level of who names them, plus 1. Above
     *                10 nothing is loaded, and that is logged
     * @return        whether it has been loaded: false when one of that name is there already, and
     *                when it has been removed again by the time it is loaded
     *
     * Files that name each other are loaded again and again, until the level is above 10.
     */
    bool addPlugIn(const char* file, int update, int level);

    /**
     * Loads all files that match one of the patterns of glob(7), which ":" separates: pattern by
     * pattern, and sorted within each. Then updateAll(), whatever was loaded. A pattern for files
     * of the working folder has to begin with "./", see CDynLib::open().
     */
    void addPatterns(const char* patterns);

    /** Closes the first plug-in that was loaded by this name. Those that it depends on stay.
     *  @return whether there was one */
    bool removePlugIn(const char* file);

    /**
     * Calls onUpdate() of all plug-ins, in the order in which they were loaded; and that again, as
     * long as one of them answers other than 0. When a pass finds none in working order, that is
     * logged, and is the last. Plug-ins that never settle keep it going for ever.
     */
    void updateAll();

  private:
    ZOL_LOCAL bool addDependencies(const char* file, int level);
    ZOL_LOCAL void addMatches(const char* pattern);
    ZOL_LOCAL bool load(const char* file);
    ZOL_LOCAL CPlugIn::Entry openRow(const char* file);
    ZOL_LOCAL bool appendRow(const char* file);
    ZOL_LOCAL void deleteRow(const CPlugIn* row);
    ZOL_LOCAL CPlugIn* lastRow(const char* file);
    ZOL_LOCAL CPlugIn* firstOpenRow();

    CTab<CPlugIn, 8, xtabh_s> m_plugIns;
    CDynLib m_host;
};

}  // namespace zol

/**
 * The entry function, which every plug-in defines; the library does not. Called once, when the
 * plug-in is loaded.
 *
 * @return owned by the plug-in, good as long as that is loaded; null for a library that is only to
 *         be loaded and takes part in nothing
 */
extern "C" ZOL_API zol::CPlugInInstance* zol_getPlugIn();

#endif
#endif
