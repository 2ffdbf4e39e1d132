// SPDX-License-Identifier: Apache-2.0
//
// Answers as T=0 carries them (ISO/IEC 7816-3, 12.2): a command either takes data or gives some.
#ifndef TOOLS_VIRTUALCARD_MODEL_T0_ANSWERS_H
#define TOOLS_VIRTUALCARD_MODEL_T0_ANSWERS_H

#include "model/apdu.h"
#include "model/machine.h"

namespace vcard {

/// What a command's answer becomes on a card that answers in the manner of T=0: 61xx where the
/// command had data of its own, the answer itself waiting for GET RESPONSE; 6Cxx where it asked for
/// another number of bytes than there are. On any other card, the answer as it is.
SAnswer OverT0(SMachine& card, const SCommand& command, SAnswer answer);

} // namespace vcard

#endif
