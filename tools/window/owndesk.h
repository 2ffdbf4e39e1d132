// SPDX-License-Identifier: Apache-2.0
//
// A desk that closes itself, and structures that know their size.

#ifndef TOOLS_WINDOW_OWNDESK_H
#define TOOLS_WINDOW_OWNDESK_H

#include "pindesk/desk.h"

#include <memory>
#include <new>

namespace window {

class COwnDesk {
public:
    operator pindesk_desk*() const { return m_desk.get(); }

private:
    std::unique_ptr<pindesk_desk, void (*)(pindesk_desk*)> m_desk{
        [] {
            pindesk_desk* const desk = pindesk_open();
            return desk != nullptr ? desk : throw std::bad_alloc();
        }(),
        pindesk_close};
};

/// A structure of the desk with nothing in it.
template <class Structure> Structure Empty()
{
    Structure structure{};
    structure.size = sizeof structure;
    return structure;
}

} // namespace window

#endif
