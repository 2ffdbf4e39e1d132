// SPDX-License-Identifier: Apache-2.0
//
// A dictionary of small values under text keys, and the one that holds the library's settings.

#ifndef CARDLIB_CKDICTIONARY_H
#define CARDLIB_CKDICTIONARY_H

#include "cardlib/export.h"

#include <map>
#include <string>

/// An owned byte string that reads back as a number, a text or bytes. Not copyable.
/// Assigning throws std::bad_alloc when memory is short and leaves the item as it was.
class PINDESK_API CKDictItem {
public:
    CKDictItem() = default;
    explicit CKDictItem(long lVal) { assign(lVal); }
    explicit CKDictItem(const char* szVal) { assign(szVal); }
    CKDictItem(const unsigned char* pbVal, unsigned long cbVal) { assign(pbVal, cbVal); }
    ~CKDictItem() { reset(); }
    CKDictItem(const CKDictItem&) = delete;
    CKDictItem& operator=(const CKDictItem&) = delete;

    /// \return a new, empty item on the heap; the caller gives it to a dictionary or destroys it.
    static CKDictItem* CreateInstance();
    /// Frees this heap item. A null pointer may be used for the call and does nothing.
    void Destroy();

    /// Makes the item empty.
    void reset();
    /// Stores the low 32 bits, in the processor's byte order. Over four bytes, so over a number, it
    /// does so in place and atomically: another thread may be reading the number.
    CKDictItem& assign(long lVal);
    /// Stores a text without its terminator; null or an empty text makes the item empty.
    CKDictItem& assign(const char* szVal);
    /// Stores cbVal bytes, which may be the item's own; a null pointer or a length of 0 makes the
    /// item empty.
    CKDictItem& assign(const unsigned char* pbVal, unsigned long cbVal);

    /// \return the first four bytes as a signed number, 0 when there are fewer.
    operator long() const;
    /// \return the bytes and a terminator; an empty text when there are none. Valid until the item
    ///         changes.
    operator const char*() const;
    /// \return the bytes, null when there are none. Valid until the item changes.
    operator const unsigned char*() const { return m_pbData; }
    /// \return the number of bytes, without a terminator.
    unsigned long size() const { return m_cbData; }

private:
    unsigned char* m_pbData = nullptr;
    unsigned long m_cbData = 0;
};

/// Items under text keys (byte-wise order, case-sensitive). It owns the items that it holds; a key
/// may be present without one. Not copyable, and not for use by two threads at once.
class PINDESK_API CKDict : public std::map<std::string, CKDictItem*> {
public:
    CKDict() = default;
    /// Destroys the items, in the order of their keys.
    ~CKDict();
    CKDict(const CKDict&) = delete;
    CKDict& operator=(const CKDict&) = delete;

    /// \return the item pointer under a key (never null text); a key that is absent is inserted
    ///         with a null item, also by reading.
    CKDictItem*& operator[](const char* szKey);
    /// Removes a key if it is present. Its item is not destroyed: whoever wants it freed does that
    /// first.
    void erase(const char* szKey);
};

/// The settings of the library, filled while it is loaded. PINDESK_ChangeSetting may be called at
/// any time; whoever inserts, assigns or erases here directly does so while no operation runs.
extern PINDESK_API CKDict g_settings_dict;

#endif
