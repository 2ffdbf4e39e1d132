// SPDX-License-Identifier: Apache-2.0
//
// The life of one secret: its kind, its try counter, its comparison.
#include "model/security_object.h"

#include "model/iso7816.h"

#include <openssl/crypto.h>

namespace vcard {

EObjectKind SSecurityObject::Kind() const
{
    if ((bClass & object_class::RSA) != 0) {
        return EObjectKind::RSA_KEY;
    }
    if ((bClass & object_class::SM) != 0) {
        return EObjectKind::SM_KEY;
    }
    return abParameters[parameter::ALGORITHM] == parameter::ALGORITHM_PIN ? EObjectKind::PIN
                                                                          : EObjectKind::AUTH_KEY;
}

bool SSecurityObject::NeedsSm(std::size_t position) const
{
    return abSm[position] != object_sm::NOT_NEEDED || abSm[position + 1] != object_sm::NOT_NEEDED;
}

void SSecurityObject::Present(ByteView value)
{
    ++cPresented;
    Require(bActive, sw::DEACTIVATED);
    Require(bTriesLeft > 0, sw::BLOCKED);
    Require(value.size() == abValue.size(), sw::WRONG_LENGTH);
    Prove(CRYPTO_memcmp(value.data(), abValue.data(), value.size()) == 0);
}

void SSecurityObject::Prove(bool bRight)
{
    Require(bTriesLeft > 0, sw::BLOCKED);
    if (bRight) {
        bTriesLeft = MaxTries();
        return;
    }
    --bTriesLeft;
    throw SRefusal(static_cast<std::uint16_t>(sw::WRONG_SECRET | bTriesLeft));
}

} // namespace vcard
