// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "identity.h"

#include <errno.h>
#include <grp.h>
#include <limits.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

// Who a child is to be: looked up in the parent, where memory may be allocated and files be read.

namespace xexec {

namespace {

// --- the databases ---

/** An entry of the user or group database, with the texts that it points to. */
template <class Entry>
class Lookup {
  public:
    Lookup() = default;
    ~Lookup() { free(m_texts); }
    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;

    const Entry& get() const { return m_entry; }

    /** @param function  getpwnam_r(3) or getgrnam_r(3). @return 0; or what went wrong */
    int find(int (*function)(const char*, Entry*, char*, size_t, Entry**), const char* name) {
        Entry* found = nullptr;
        int error = ERANGE;
        for (size_t size = 1024; error == ERANGE; size *= 2) {
            free(m_texts);
            m_texts = static_cast<char*>(malloc(size));
            if (m_texts == nullptr) {
                return ENOMEM;
            }
            // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): freed by the destructor
            error = function(name, &m_entry, m_texts, size, &found);
        }
        // A few systems answer "not found" with an error.
        const bool unknown = error == 0 || error == ENOENT || error == ESRCH;
        return found != nullptr ? 0 : unknown ? EINVAL : error;
    }

  private:
    Entry m_entry = {};
    char* m_texts = nullptr;
};

int findGroup(const char* name, gid_t& group) {
    Lookup<struct group> entry;
    const int error = entry.find(getgrnam_r, name);
    group = entry.get().gr_gid;
    return error;
}

int findUser(const char* name, uid_t& user, gid_t& group) {
    Lookup<passwd> entry;
    const int error = entry.find(getpwnam_r, name);
    user = entry.get().pw_uid;
    group = entry.get().pw_gid;
    return error;
}

// The groups of a user; getgrouplist(3) says how many there are when there is not room for all.
int findGroups(const char* user, Identity& identity) {
    int room = 16;
    for (;;) {
        gid_t* const groups = static_cast<gid_t*>(
            realloc(identity.groups, static_cast<size_t>(room) * sizeof *groups));
        if (groups == nullptr) {
            return ENOMEM;
        }
        identity.groups = groups;
        identity.groupCount = room;
        if (getgrouplist(user, identity.group, groups, &identity.groupCount) >= 0) {
            return 0;
        }
        if (room > NGROUPS_MAX) {
            return ENOMEM;  // it is something else that is wrong
        }
        room = identity.groupCount > room ? identity.groupCount : 2 * room;
    }
}

// --- what the parent is ---

// Whether all of `some` are among `others` or are `own`.
bool areAmong(const gid_t* some, int count, const gid_t* others, int otherCount, gid_t own) {
    for (int i = 0; i < count; ++i) {
        bool found = some[i] == own;
        for (int k = 0; k < otherCount && !found; ++k) {
            found = some[i] == others[k];
        }
        if (!found) {
            return false;
        }
    }
    return true;
}

// @return 1: the process has these supplementary groups and no others; 0: it does not; -1: no
// memory
int hasGroups(const Identity& identity) {
    const int count = getgroups(0, nullptr);
    if (count < 0) {
        return 0;
    }
    gid_t* const groups =
        static_cast<gid_t*>(malloc((static_cast<size_t>(count) + 1) * sizeof *groups));
    if (groups == nullptr) {
        return -1;
    }
    const bool same =
        getgroups(count, groups) == count &&
        areAmong(groups, count, identity.groups, identity.groupCount, identity.group) &&
        areAmong(identity.groups, identity.groupCount, groups, count, identity.group);
    free(groups);
    return same ? 1 : 0;
}

// As hasGroups(), for the whole of it.
int isParent(const Identity& identity) {
    uid_t users[3];
    gid_t groups[3];
    (void)getresuid(&users[0], &users[1], &users[2]);
    (void)getresgid(&groups[0], &groups[1], &groups[2]);
    for (int i = 0; i < 3; ++i) {
        if (users[i] != identity.user || groups[i] != identity.group) {
            return 0;
        }
    }
    return hasGroups(identity);
}

int find(const xexec_s& record, Identity& identity) {
    const bool named = record.user[0] != '\0';
    identity.user = geteuid();
    if (named) {
        const int error = findUser(record.user, identity.user, identity.group);
        if (error != 0) {
            return error;
        }
    }
    if (record.group[0] != '\0') {
        const int error = findGroup(record.group, identity.group);
        if (error != 0) {
            return error;
        }
    }
    // Without a user no group but the named one is left.
    const int error = named ? findGroups(record.user, identity) : 0;
    if (error != 0) {
        return error;
    }
    const int same = isParent(identity);
    identity.differs = same != 1;
    return same == -1 ? ENOMEM : 0;
}

}  // namespace

int findIdentity(const xexec_s& record, Identity& identity) {
    identity = {};
    if (record.user[0] == '\0' && record.group[0] == '\0') {
        return 0;
    }
    const int error = find(record, identity);
    if (error != 0) {
        free(identity.groups);
        identity = {};
    }
    return error;
}

}  // namespace xexec
