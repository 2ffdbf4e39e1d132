// SPDX-License-Identifier: Apache-2.0
//
// A card whose family is not known, or is none of ours: a plain session, held for one call, and a
// tolerant way of selecting its files. Internal.

#ifndef PINDESK_PLAINCARD_H
#define PINDESK_PLAINCARD_H

#include "cardlib/cscardsetec43.h"
#include "pindesk/frame.h"

namespace pindesk {

/// Holds the card in a slot and runs steps, long(CSCard&), on it. The Setec session serves every
/// card here: it has the base's selections and nothing that looks at the card on connecting.
/// \return NO_CONTEXT (also when memory is short), NO_READER (slot below 1, no list, no such slot,
///         no connection), SELECT_FAILED (no transaction), or what the steps return.
template <typename TSteps> long WithPlainCard(long slot, TSteps steps)
{
    return RunWithSettings([&] {
        CFrame<CSCardSetec43> frame;
        const long lResult = frame.Open(slot);
        if (lResult == result::OK) {
            return steps(frame.Card());
        }
        return lResult == result::NO_CARD ? result::NO_READER : lResult;
    });
}

/// Selects through a session, tolerantly: 6284 (selected, file control information not as the
/// standard has it) is a success, and once a card has refused to select its MF without that
/// information every selection asks for it.
class CSelector {
public:
    explicit CSelector(CSCard& card) : m_card(card) {}

    /// Selects the MF, a second time if need be. \return whether it is selected.
    bool SelectMf();
    /// Selects one file under the current one. \return whether it is selected.
    bool Select(WORD fid, int fidType = eFidDF);
    /// What the last selection came to: 0, 0x6284, another status word, or a PC/SC code.
    long LastResult() const { return m_lResult; }

private:
    CSCard& m_card;
    bool m_bAskForFci = false;
    long m_lResult = 0;
};

/// Finds out which layout a card has. 3 to 8 exchanges.
/// \return SELECT_FAILED without an MF, else as PCSC_GetFSType.
long DetectLayout(CSCard& card, long* scardType);

} // namespace pindesk

#endif
