// SPDX-License-Identifier: Apache-2.0
//
// The native methods of it.velmar.pindesk.Native. Arguments are copied out of the virtual machine,
// values and keys into memory that wipes itself; answers go back as their members in a row, in the
// order in which the Java classes read them.

#include "it_velmar_pindesk_Native.h" // made from the Java class, so that the two cannot disagree

#include "cardlib/support/secret.h"
#include "desk/door.h"
#include "pindesk/desk.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace {

using FTextOf = size_t (*)(const void* pOriginal, int32_t iNumber, const char* szLanguage,
                           char* szText, size_t cbText);

/// Members of a structure in a row: numbers big-endian, texts and bytes behind their length.
class CMembers {
public:
    CMembers& Number(int64_t iValue)
    {
        for (const int iShift : {24, 16, 8, 0}) {
            m_bytes.push_back(static_cast<jbyte>(iValue >> iShift & 0xFF));
        }
        return *this;
    }
    CMembers& Bytes(const void* pb, std::size_t cb)
    {
        Number(static_cast<int64_t>(cb));
        const auto* const pbFirst = static_cast<const jbyte*>(pb);
        m_bytes.insert(m_bytes.end(), pbFirst, pbFirst + cb);
        return *this;
    }
    CMembers& Text(const char* sz) { return Bytes(sz, std::strlen(sz)); }

    CMembers& Report(const pindesk_report& report)
    {
        Bytes(&report, sizeof report);
        Number(report.operation).Number(report.secret).Number(report.target);
        Number(report.outcome).Number(report.detail).Number(report.next);
        Number(report.in_force).Number(report.state).Number(report.weakness);
        Number(report.notes).Number(report.tries_before).Number(report.tries_left);
        Number(report.code).Number(report.status_word).Number(report.secrets_sent);
        Number(report.exchanges).Number(report.milliseconds).Number(report.slot);
        return Text(report.reader).Text(report.serial).Text(report.holders);
    }
    CMembers& Reader(const pindesk_reader& reader)
    {
        Number(reader.slot).Number(reader.has_card).Number(reader.is_mute);
        Number(reader.is_in_use).Number(reader.is_exclusive).Number(reader.kind);
        return Bytes(reader.atr, reader.atr_size).Text(reader.name).Text(reader.holders);
    }
    CMembers& Card(const pindesk_card& card)
    {
        Reader(card.reader).Text(card.serial).Number(card.layout);
        Number(card.speaks_t0).Number(card.speaks_t1).Number(card.clock_factor);
        Number(card.rate_factor).Number(card.bits_per_second).Number(card.operations);
        return Text(card.chip).Text(card.historical);
    }
    CMembers& Status(const pindesk_secret_status& status)
    {
        Bytes(&status, sizeof status).Number(status.secret).Number(status.state);
        return Number(status.tries_left).Number(status.status_word);
    }
    CMembers& Finding(const pindesk_finding& finding)
    {
        Text(finding.id).Number(finding.severity).Text(finding.reader);
        return Text(finding.what).Text(finding.cause).Text(finding.remedy);
    }
    CMembers& Piece(const char* sz, std::size_t cb)
    {
        m_bytes.insert(m_bytes.end(), sz, sz + cb);
        return *this;
    }

    /// A new array, null with a Java exception pending when memory is short.
    jbyteArray ToJava(JNIEnv* env) const
    {
        const auto cb = static_cast<jsize>(m_bytes.size());
        auto* array = env->NewByteArray(cb);
        if (array != nullptr) {
            env->SetByteArrayRegion(array, 0, cb, m_bytes.data());
        }
        return array;
    }

private:
    std::vector<jbyte> m_bytes;
};

/// Bytes of a Java array as a C string; null stays null.
class CText {
public:
    CText(JNIEnv* env, jobject array) : m_bGiven(array != nullptr)
    {
        if (m_bGiven) {
            auto* const bytes = static_cast<jbyteArray>(array);
            m_str.resize(static_cast<std::size_t>(env->GetArrayLength(bytes)));
            env->GetByteArrayRegion(bytes, 0, static_cast<jsize>(m_str.size()),
                                    reinterpret_cast<jbyte*>(m_str.data()));
        }
    }
    const char* Get() const { return m_bGiven ? m_str.c_str() : nullptr; }

private:
    bool m_bGiven;
    std::string m_str;
};

/// A secret value, from a byte[] or a char[].
class CValue {
public:
    CValue(JNIEnv* env, jobject value)
    {
        if (value == nullptr) {
            return;
        }
        auto* const array = static_cast<jarray>(value);
        // longer ones are refused for their length, whatever they hold
        m_cb = std::min(static_cast<std::size_t>(env->GetArrayLength(array)), CAPACITY);
        if (env->IsInstanceOf(value, env->FindClass("[B")) != JNI_FALSE) {
            env->GetByteArrayRegion(static_cast<jbyteArray>(array), 0, static_cast<jsize>(m_cb),
                                    reinterpret_cast<jbyte*>(m_ab));
            return;
        }
        jchar characters[CAPACITY];
        env->GetCharArrayRegion(static_cast<jcharArray>(array), 0, static_cast<jsize>(m_cb),
                                characters);
        std::transform(characters, characters + m_cb, m_ab, [](jchar c) {
            return static_cast<unsigned char>(c > 0x7F ? 0xFF : c); // FF is permitted nowhere
        });
        explicit_bzero(characters, sizeof characters);
    }
    ~CValue() { explicit_bzero(m_ab, sizeof m_ab); }
    CValue(const CValue&) = delete;
    CValue& operator=(const CValue&) = delete;

    pindesk_bytes Get() const { return {m_ab, m_cb}; }

private:
    static constexpr std::size_t CAPACITY = 64;
    unsigned char m_ab[CAPACITY] = {};
    std::size_t m_cb = 0;
};

/// A key of the caller's, or none. The Java side has checked its length.
class CKey {
public:
    CKey(JNIEnv* env, jbyteArray key) : m_bGiven(key != nullptr)
    {
        if (m_bGiven) {
            env->GetByteArrayRegion(key, 0, PINDESK_KEY_SIZE, reinterpret_cast<jbyte*>(m_ab));
        }
    }
    ~CKey() { explicit_bzero(m_ab, sizeof m_ab); }
    CKey(const CKey&) = delete;
    CKey& operator=(const CKey&) = delete;

    const unsigned char* Get() const { return m_bGiven ? m_ab : nullptr; }

private:
    bool m_bGiven;
    unsigned char m_ab[PINDESK_KEY_SIZE] = {};
};

/// A Visitor of the Java side; a null one takes everything and says nothing.
class CVisitor {
public:
    CVisitor(JNIEnv* env, jobject visitor) : m_env(env), m_visitor(visitor) {}

    /// \return 0 to go on; something else also when Java has thrown, which ends the call at once.
    int Tell(const CMembers& members) const
    {
        if (m_visitor == nullptr) {
            return 0;
        }
        if (m_env->ExceptionCheck() != JNI_FALSE) {
            return 1;
        }
        auto* array = members.ToJava(m_env);
        auto* type = m_env->GetObjectClass(m_visitor);
        auto* visit = m_env->GetMethodID(type, "visit", "([B)Z");
        const bool bGoOn = array != nullptr && visit != nullptr &&
                           m_env->CallBooleanMethod(m_visitor, visit, array) != JNI_FALSE &&
                           m_env->ExceptionCheck() == JNI_FALSE;
        m_env->DeleteLocalRef(type);
        m_env->DeleteLocalRef(array);
        return bGoOn ? 0 : 1;
    }

private:
    JNIEnv* m_env;
    jobject m_visitor;
};

const CVisitor& Visitor(void* pContext)
{
    return *static_cast<const CVisitor*>(pContext);
}

int OnReader(const pindesk_reader* pReader, void* pContext)
{
    return Visitor(pContext).Tell(CMembers().Reader(*pReader));
}

int OnEvent(pindesk_event event, const pindesk_reader* pReader, void* pContext)
{
    return Visitor(pContext).Tell(CMembers().Number(event).Reader(*pReader));
}

int OnStatus(const pindesk_secret_status* pStatus, void* pContext)
{
    return Visitor(pContext).Tell(CMembers().Status(*pStatus));
}

int OnFinding(const pindesk_finding* pFinding, void* pContext)
{
    return Visitor(pContext).Tell(CMembers().Finding(*pFinding));
}

int OnPiece(const char* szText, size_t cbText, void* pContext)
{
    return Visitor(pContext).Tell(CMembers().Piece(szText, cbText));
}

void OnWaiting(const pindesk_report* pSoFar, void* pContext)
{
    (void)Visitor(pContext).Tell(CMembers().Report(*pSoFar)); // a listener cannot end a call
}

/// What one call is given.
struct SRun {
    pindesk_desk* pDesk;
    pindesk_operation operation;
    pindesk_secret secret;
    pindesk_bytes first;
    pindesk_bytes second;
    const pindesk_options* pOptions;
    const char* szLanguage;
    CVisitor* pFound;
    pindesk_report* pReport;
};

using FLook = pindesk_outcome (*)(pindesk_desk*, const pindesk_options*, pindesk_card*,
                                  pindesk_report*);

/// A look that fills in a card, which is then the one thing found.
template <FLook Look> void LookAtCard(const SRun& run)
{
    pindesk_card card{};
    card.size = sizeof card;
    if (Look(run.pDesk, run.pOptions, &card, run.pReport) == PINDESK_DONE) {
        (void)run.pFound->Tell(CMembers().Card(card));
    }
}

void UnblockFamily(const SRun& run)
{
    pindesk_unblock_family(run.pDesk, run.operation, run.first, run.second, run.pOptions,
                           run.pReport);
}

struct SCall {
    jint iCall;
    void (*pfnRun)(const SRun& run);
};

const SCall CALLS[] = {
    {PINDESK_OP_VERIFY,
     [](const SRun& r) { pindesk_verify(r.pDesk, r.secret, r.first, r.pOptions, r.pReport); }},
    {PINDESK_OP_CHANGE,
     [](const SRun& r) {
         pindesk_change(r.pDesk, r.secret, r.first, r.second, r.pOptions, r.pReport);
     }},
    {PINDESK_OP_UNBLOCK,
     [](const SRun& r) {
         pindesk_unblock(r.pDesk, r.secret, r.first, r.second, r.pOptions, r.pReport);
     }},
    {PINDESK_OP_LOCK, [](const SRun& r) { pindesk_lock(r.pDesk, r.pOptions, r.pReport); }},
    {PINDESK_OP_REACTIVATE,
     [](const SRun& r) { pindesk_reactivate(r.pDesk, r.first, r.second, r.pOptions, r.pReport); }},
    {PINDESK_OP_UNBLOCK_STARCOS, UnblockFamily},
    {PINDESK_OP_UNBLOCK_M4_1111, UnblockFamily},
    {it_velmar_pindesk_Native_CALL_CHECK,
     [](const SRun& r) { pindesk_check(r.pDesk, r.operation, r.secret, r.pOptions, r.pReport); }},
    {it_velmar_pindesk_Native_CALL_READERS,
     [](const SRun& r) { pindesk_readers(r.pDesk, r.pOptions, OnReader, r.pFound, r.pReport); }},
    {it_velmar_pindesk_Native_CALL_WATCH,
     [](const SRun& r) { pindesk_watch(r.pDesk, r.pOptions, OnEvent, r.pFound, r.pReport); }},
    {it_velmar_pindesk_Native_CALL_FIND, LookAtCard<pindesk_find>},
    {it_velmar_pindesk_Native_CALL_SERIAL, LookAtCard<pindesk_serial>},
    {it_velmar_pindesk_Native_CALL_IDENTIFY, LookAtCard<pindesk_identify>},
    {it_velmar_pindesk_Native_CALL_STATUS,
     [](const SRun& r) { pindesk_status(r.pDesk, r.pOptions, OnStatus, r.pFound, r.pReport); }},
    {it_velmar_pindesk_Native_CALL_DOCTOR,
     [](const SRun& r) {
         pindesk_doctor(r.pDesk, r.pOptions, r.szLanguage, OnFinding, r.pFound, r.pReport);
     }},
    {it_velmar_pindesk_Native_CALL_BUNDLE,
     [](const SRun& r) { pindesk_bundle(r.pDesk, r.pOptions, OnPiece, r.pFound, r.pReport); }},
};

pindesk_desk* DeskOf(jlong desk)
{
    // Java has no other type for it
    return reinterpret_cast<pindesk_desk*>(desk); // NOLINT(performance-no-int-to-ptr)
}

/// A desk with the keys of another one, whose calls take turns with its. Each call from Java has
/// one of its own, so that it can be cancelled alone.
pindesk_desk* OpenLike(pindesk_desk& other)
{
    pindesk_desk* const pDesk = pindesk_open();
    if (pDesk != nullptr) {
        const std::lock_guard lock(other.keyMutex);
        pDesk->turns = other.turns;
        pDesk->smKey.Take(other.smKey.data());
        pDesk->adminKey.Take(other.adminKey.data());
    }
    return pDesk;
}

/// Runs a native method; a lack of memory becomes Java's.
template <typename TBody> auto Guarded(JNIEnv* env, TBody body) -> decltype(body())
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        env->ThrowNew(env->FindClass("java/lang/OutOfMemoryError"), "in libpindesk");
        return {};
    }
}

template <typename T, size_t (*Text)(const T*, const char*, char*, size_t)>
size_t OfStructure(const void* pOriginal, int32_t, const char* szLanguage, char* sz, size_t cb)
{
    return Text(static_cast<const T*>(pOriginal), szLanguage, sz, cb);
}

template <typename T, size_t (*Text)(T, const char*, char*, size_t)>
size_t OfNumber(const void*, int32_t iNumber, const char* szLanguage, char* sz, size_t cb)
{
    return Text(static_cast<T>(iNumber), szLanguage, sz, cb);
}

size_t Version(const void*, int32_t, const char*, char* sz, size_t cb)
{
    return static_cast<size_t>(std::snprintf(sz, cb, "%s", pindesk_version()));
}

/// The texts, in the order of the constants TEXT_OF_REPORT and so on.
const FTextOf TEXTS[] = {
    OfStructure<pindesk_report, pindesk_text>,
    OfStructure<pindesk_report, pindesk_advice>,
    OfStructure<pindesk_secret_status, pindesk_state_text>,
    OfNumber<int32_t, pindesk_layout_text>,
    OfNumber<pindesk_secret, pindesk_secret_title>,
    OfNumber<pindesk_weakness, pindesk_weakness_text>,
    OfNumber<pindesk_kind, pindesk_kind_text>,
    OfNumber<pindesk_outcome, pindesk_outcome_text>,
    OfNumber<int32_t, pindesk_code_text>,
    OfNumber<int32_t, pindesk_code_advice>,
    OfNumber<uint16_t, pindesk_status_word_text>,
    Version,
};

} // namespace

jlong Java_it_velmar_pindesk_Native_open(JNIEnv*, jclass, jlong like)
{
    return reinterpret_cast<jlong>(like == 0 ? pindesk_open() : OpenLike(*DeskOf(like)));
}

void Java_it_velmar_pindesk_Native_close(JNIEnv*, jclass, jlong desk)
{
    pindesk_close(DeskOf(desk));
}

void Java_it_velmar_pindesk_Native_cancel(JNIEnv*, jclass, jlong desk)
{
    pindesk_cancel(DeskOf(desk));
}

jint Java_it_velmar_pindesk_Native_setKey(JNIEnv* env, jclass, jlong desk, jint which,
                                          jbyteArray key)
{
    return pindesk_set_key(DeskOf(desk), static_cast<pindesk_key>(which), CKey(env, key).Get());
}

jbyteArray Java_it_velmar_pindesk_Native_loadKey(JNIEnv* env, jclass, jlong desk, jint which,
                                                 jbyteArray path)
{
    return Guarded(env, [&] {
        pindesk_report report = desk::EmptyReport();
        pindesk_load_key(DeskOf(desk), static_cast<pindesk_key>(which), CText(env, path).Get(),
                         &report);
        return CMembers().Report(report).ToJava(env);
    });
}

jbyteArray Java_it_velmar_pindesk_Native_run(JNIEnv* env, jclass, jlong desk, jint call,
                                             jint operation, jint secret, jobject first,
                                             jobject second, jintArray numbers, jobjectArray texts,
                                             jbyteArray smKey, jbyteArray adminKey, jobject found,
                                             jobject waiting)
{
    return Guarded(env, [&]() -> jbyteArray {
        const CText reader(env, env->GetObjectArrayElement(texts, 0));
        const CText serial(env, env->GetObjectArrayElement(texts, 1));
        const CText language(env, env->GetObjectArrayElement(texts, 2));
        const CValue firstValue(env, first);
        const CValue secondValue(env, second);
        const CKey smKeyBytes(env, smKey);
        const CKey adminKeyBytes(env, adminKey);
        CVisitor foundVisitor(env, found);
        CVisitor waitingVisitor(env, waiting);
        jint aNumbers[4];
        env->GetIntArrayRegion(numbers, 0, 4, aNumbers);

        pindesk_options options{};
        options.size = sizeof options;
        options.reader = reader.Get();
        options.slot = aNumbers[0];
        options.serial = serial.Get();
        options.wait_ms = aNumbers[1];
        options.timeout_ms = aNumbers[2];
        options.flags = static_cast<uint32_t>(aNumbers[3]);
        options.sm_key = smKeyBytes.Get();
        options.admin_key = adminKeyBytes.Get();
        options.waiting = waiting != nullptr ? OnWaiting : nullptr;
        options.context = &waitingVisitor;

        pindesk_report report = desk::EmptyReport();
        const auto* const pCall = std::find_if(std::begin(CALLS), std::end(CALLS),
                                               [&](const SCall& row) { return row.iCall == call; });
        pCall->pfnRun({DeskOf(desk), static_cast<pindesk_operation>(operation),
                       static_cast<pindesk_secret>(secret), firstValue.Get(), secondValue.Get(),
                       &options, language.Get(), &foundVisitor, &report});
        return env->ExceptionCheck() != JNI_FALSE ? nullptr : CMembers().Report(report).ToJava(env);
    });
}

jbyteArray Java_it_velmar_pindesk_Native_checkValue(JNIEnv* env, jclass, jint secret,
                                                    jboolean isNew, jobject value, jint flags)
{
    return Guarded(env, [&] {
        pindesk_report report = desk::EmptyReport();
        pindesk_check_value(static_cast<pindesk_secret>(secret), isNew, CValue(env, value).Get(),
                            static_cast<uint32_t>(flags), &report);
        return CMembers().Report(report).ToJava(env);
    });
}

jint Java_it_velmar_pindesk_Native_limit(JNIEnv*, jclass, jint secret, jboolean longest)
{
    int32_t iMin = 0, iMax = 0;
    pindesk_limits(static_cast<pindesk_secret>(secret), &iMin, &iMax);
    return longest != JNI_FALSE ? iMax : iMin;
}

jint Java_it_velmar_pindesk_Native_outcomeOfCode(JNIEnv*, jclass, jint code)
{
    return pindesk_code_outcome(code);
}

jint Java_it_velmar_pindesk_Native_nextOfCode(JNIEnv*, jclass, jint code)
{
    return pindesk_code_next(code);
}

jbyteArray Java_it_velmar_pindesk_Native_words(JNIEnv* env, jclass, jint what, jbyteArray original,
                                               jint number, jbyteArray language)
{
    return Guarded(env, [&] {
        const CText structure(env, original);
        const CText tag(env, language);
        const FTextOf textOf = TEXTS[what];
        const std::size_t cb = textOf(structure.Get(), number, tag.Get(), nullptr, 0);
        std::string text(cb + 1, '\0');
        textOf(structure.Get(), number, tag.Get(), text.data(), text.size());
        return CMembers().Piece(text.data(), cb).ToJava(env);
    });
}
