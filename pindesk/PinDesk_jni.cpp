// SPDX-License-Identifier: Apache-2.0
//
// The native methods of the Java class it.velmar.PinDesk: each changes or unblocks one secret of
// any card, with the library's own key. The checks, the card work and the results are those of
// CNS_DS_ChangePinPuk and CNS_DS_UnblockPin.

#include "it_velmar_PinDesk.h" // made from the Java class, so that the two cannot disagree

#include "pindesk/PinDesk.h"
#include "pindesk/secrets.h"

using namespace pindesk;

namespace {

constexpr BOOL PLAIN = 0, PROTECTED = 1;

/// What an operation is given: a value, or nothing.
struct SArgument {
    unsigned char* pb = nullptr;
    long cb = 0;
};

/// The bytes of two Java strings, given back in the order in which they were taken. A null string,
/// or one for which the virtual machine has no memory, is an argument not given.
class CTwoStrings {
public:
    CTwoStrings(JNIEnv* env, jstring first, jstring second)
        : m_env(env), m_strings{{first}, {second}}
    {
        for (auto& [text, sz] : m_strings) {
            sz = text == nullptr ? nullptr : m_env->GetStringUTFChars(text, nullptr);
            if (sz == nullptr) {
                return; // an error may be pending: only releasing is allowed now
            }
        }
    }
    ~CTwoStrings()
    {
        for (auto& [text, sz] : m_strings) {
            if (sz != nullptr) {
                m_env->ReleaseStringUTFChars(text, sz);
            }
        }
    }
    CTwoStrings(const CTwoStrings&) = delete;
    CTwoStrings& operator=(const CTwoStrings&) = delete;

    SArgument First() const { return ArgumentOf(m_strings[0].sz); }
    SArgument Second() const { return ArgumentOf(m_strings[1].sz); }

private:
    struct SString {
        jstring text;
        const char* sz = nullptr;
    };

    /// The operations only read what they take as non-const bytes.
    static SArgument ArgumentOf(const char* sz)
    {
        if (sz == nullptr) {
            return {};
        }
        return {reinterpret_cast<unsigned char*>(const_cast<char*>(sz)),
                static_cast<long>(std::strlen(sz))};
    }

    JNIEnv* m_env;
    SString m_strings[2];
};

jlong Change(JNIEnv* env, jint numslot, jstring oldValue, jstring newValue, ESecret eSecret,
             BOOL bUseSecureMessaging)
{
    const CTwoStrings strings(env, oldValue, newValue);
    SArgument oldValues[std::size(SECRETS)];
    SArgument newValues[std::size(SECRETS)];
    oldValues[eSecret] = strings.First();
    newValues[eSecret] = strings.Second();
    const auto& [oldCnsPin, oldCnsPuk, oldDsPin, oldDsPuk] = oldValues;
    const auto& [newCnsPin, newCnsPuk, newDsPin, newDsPuk] = newValues;
    return CNS_DS_ChangePinPuk(numslot, nullptr, oldCnsPin.pb, oldCnsPin.cb, newCnsPin.pb,
                               newCnsPin.cb, oldCnsPuk.pb, oldCnsPuk.cb, newCnsPuk.pb, newCnsPuk.cb,
                               oldDsPin.pb, oldDsPin.cb, newDsPin.pb, newDsPin.cb, oldDsPuk.pb,
                               oldDsPuk.cb, newDsPuk.pb, newDsPuk.cb, nullptr, bUseSecureMessaging);
}

/// Asks for protection for both applications; the operation protects the signature one.
jlong Unblock(JNIEnv* env, jint numslot, jstring puk, jstring newPin, ESecret ePin)
{
    const CTwoStrings strings(env, puk, newPin);
    SArgument cnsPuk, cnsPin, dsPuk, dsPin;
    (ePin == CNS_PIN ? cnsPuk : dsPuk) = strings.First();
    (ePin == CNS_PIN ? cnsPin : dsPin) = strings.Second();
    return CNS_DS_UnblockPin(numslot, nullptr, cnsPuk.pb, cnsPuk.cb, cnsPin.pb, cnsPin.cb, dsPuk.pb,
                             dsPuk.cb, dsPin.pb, dsPin.cb, nullptr, PROTECTED);
}

} // namespace

jlong Java_it_velmar_PinDesk_ChangePinCNS(JNIEnv* env, jobject, jint numslot, jstring oldPinCNS,
                                          jstring newPinCNS)
{
    return Change(env, numslot, oldPinCNS, newPinCNS, CNS_PIN, PLAIN);
}

jlong Java_it_velmar_PinDesk_ChangePukCNS(JNIEnv* env, jobject, jint numslot, jstring oldPukCNS,
                                          jstring newPukCNS)
{
    return Change(env, numslot, oldPukCNS, newPukCNS, CNS_PUK, PLAIN);
}

jlong Java_it_velmar_PinDesk_ChangePinDS(JNIEnv* env, jobject, jint numslot, jstring oldPinDS,
                                         jstring newPinDS)
{
    return Change(env, numslot, oldPinDS, newPinDS, DS_PIN, PROTECTED);
}

jlong Java_it_velmar_PinDesk_ChangePukDS(JNIEnv* env, jobject, jint numslot, jstring oldPukDS,
                                         jstring newPukDS)
{
    return Change(env, numslot, oldPukDS, newPukDS, DS_PUK, PROTECTED);
}

jlong Java_it_velmar_PinDesk_UnBlockPinCNS(JNIEnv* env, jobject, jint numslot, jstring PukCNS,
                                           jstring PinCNS)
{
    return Unblock(env, numslot, PukCNS, PinCNS, CNS_PIN);
}

jlong Java_it_velmar_PinDesk_UnBlockPinDS(JNIEnv* env, jobject, jint numslot, jstring PukDS,
                                          jstring PinDS)
{
    return Unblock(env, numslot, PukDS, PinDS, DS_PIN);
}
