// SPDX-License-Identifier: Apache-2.0
//
// Careful work with a card: what does not bear repetition goes out once, every loop ends, and a
// secret is presented only where it is sure to mean what its owner wants. Internal.

#ifndef CARDLIB_SUPPORT_CAREFUL_H
#define CARDLIB_SUPPORT_CAREFUL_H

/// Fixes for this thread, until the end of the scope, whether the calls within are careful. They
/// are when this scope or one around it says so: a caller who wants care gets it from every callee.
class CCareful {
public:
    /// As SETTING_TRY_GUARD says now.
    CCareful();
    /// As told.
    explicit CCareful(bool bCareful);
    ~CCareful();
    CCareful(const CCareful&) = delete;
    CCareful& operator=(const CCareful&) = delete;

    /// Whether this thread is careful; outside every scope SETTING_TRY_GUARD decides.
    static bool Now();

private:
    enum class ECare : unsigned char { NOT_SAID, CARELESS, CAREFUL };
    static thread_local ECare t_eCare;

    const ECare m_eOuter;
};

#endif
