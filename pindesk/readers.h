// SPDX-License-Identifier: Apache-2.0
//
// The scopes of one call: the PC/SC context it works in and the readers of that context. Internal.

#ifndef PINDESK_READERS_H
#define PINDESK_READERS_H

#include <winscard.h>

namespace pindesk {

/// A PC/SC context of scope user. The service has few contexts for the whole machine, so it is
/// released by Close() or at the end of the scope on every path, unless it was given away with
/// Detach().
class CContext {
public:
    CContext() = default;
    ~CContext() { Close(); }
    CContext(const CContext&) = delete;
    CContext& operator=(const CContext&) = delete;

    /// Opens the context. \return 0, or -1 when PC/SC refuses; there is nothing to release then.
    long Establish();
    /// The context, 0 when there is none; it stays this object's.
    SCARDCONTEXT Handle() const { return m_hContext; }
    /// Hands the context over: from here on the caller releases it.
    [[nodiscard]] SCARDCONTEXT Detach();
    /// Releases the context, if there is one.
    void Close();

private:
    SCARDCONTEXT m_hContext = 0;
};

/// The readers of a context in PC/SC's order. The names are PC/SC's memory and go back to it at the
/// end of the scope, so the context has to be released after that: declare it before the list.
class CReaderList {
public:
    CReaderList() = default;
    ~CReaderList();
    CReaderList(const CReaderList&) = delete;
    CReaderList& operator=(const CReaderList&) = delete;

    /// Lists the readers, once in the life of the object.
    /// \return 0, or -2 when PC/SC refuses, as it does when there is no reader.
    long List(SCARDCONTEXT hContext);
    /// The name of a reader, in the list's memory.
    /// \param slot  its position, from 1.
    /// \return null for a slot below 1 or beyond the last reader, or when nothing is listed.
    const char* At(long slot) const;
    /// How many readers are listed.
    long Count() const;

private:
    SCARDCONTEXT m_hContext = 0;
    char* m_mszReaders = nullptr; // names, each with its NUL, and an empty one
};

/// The reader at a slot, in a context of its own: how every call that takes a slot begins.
class CReaderAtSlot {
public:
    /// Opens a context, lists its readers and goes to the slot, once in the life of the object.
    /// \param slot  one-based; below 1 nothing is asked of PC/SC.
    /// \return 0, -1 (no context), or -2 (slot below 1, no list, no such slot).
    long Open(long slot);
    /// The reader's name, in this object's memory. After Open() has returned 0.
    const char* Name() const { return m_szName; }
    /// Whether that is its name.
    bool IsNamed(const char* szName) const;
    /// The context; it stays this object's.
    SCARDCONTEXT Context() const { return m_context.Handle(); }
    /// Hands the context over: from here on the caller releases it, after this object's end.
    [[nodiscard]] SCARDCONTEXT Detach() { return m_context.Detach(); }

private:
    CContext m_context; // released after the list
    CReaderList m_readers;
    const char* m_szName = nullptr;
};

} // namespace pindesk

#endif
