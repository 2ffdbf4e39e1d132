// SPDX-License-Identifier: Apache-2.0
//
// The native methods called by a virtual machine that offers nothing but its two string functions
// (any other call crashes) and writes down how they are used.

#include "it_velmar_PinDesk.h"

#include "pindesk/PinDesk.h"
#include "tests/support/scripted_pcsc.h"

#define SAME(CODE) (it_velmar_PinDesk_##CODE == pindesk::result::CODE)
static_assert(SAME(OK) && SAME(NO_CONTEXT) && SAME(NO_READER) && SAME(NO_CARD) &&
              SAME(SELECT_FAILED) && SAME(SECURE_MESSAGING) && SAME(CHANGE_CNS_PIN) &&
              SAME(CHANGE_CNS_PUK) && SAME(CHANGE_DS_PIN) && SAME(CHANGE_DS_PUK) &&
              SAME(UNBLOCK_CNS_PIN) && SAME(UNBLOCK_DS_PIN) && SAME(VERIFY_CNS_PIN) &&
              SAME(VERIFY_CNS_PUK) && SAME(VERIFY_DS_PIN) && SAME(VERIFY_DS_PUK) &&
              SAME(BLOCKED_CNS_PIN) && SAME(READER_FAILED) && SAME(BLOCKED_CNS_PUK) &&
              SAME(BLOCKED_DS_PIN) && SAME(BLOCKED_DS_PUK) && SAME(NEW_CNS_PIN_LENGTH) &&
              SAME(NEW_CNS_PUK_LENGTH) && SAME(NEW_DS_PIN_LENGTH) && SAME(NEW_DS_PUK_LENGTH) &&
              SAME(CNS_PIN_LENGTH) && SAME(CNS_PUK_LENGTH) && SAME(DS_PIN_LENGTH) &&
              SAME(DS_PUK_LENGTH) && SAME(MISSING_ARGUMENT));

namespace {
using Lines = std::vector<std::string>;

struct SJavaString : _jstring {
    const char* sz; // null: the virtual machine has no memory for its bytes
};

class CVirtualMachine {
public:
    CVirtualMachine()
    {
        m_functions.GetStringUTFChars = [](JNIEnv*, jstring text, jboolean*) {
            const char* sz = static_cast<SJavaString*>(text)->sz;
            s_pLog->push_back(std::string("get ") + (sz == nullptr ? "fails" : sz));
            return sz;
        };
        m_functions.ReleaseStringUTFChars = [](JNIEnv*, jstring text, const char* sz) {
            EXPECT_EQ(static_cast<SJavaString*>(text)->sz, sz);
            s_pLog->push_back(std::string("release ") + sz);
        };
        m_env.functions = &m_functions;
        s_pLog = &m_log;
    }
    JNIEnv* Env() { return &m_env; }
    std::vector<std::string> TakeLog() { return std::exchange(m_log, {}); }

private:
    static inline std::vector<std::string>* s_pLog; // the functions know no context of ours
    JNINativeInterface_ m_functions{};
    JNIEnv m_env{};
    std::vector<std::string> m_log;
};

using FNativeMethod = jlong(JNIEnv*, jobject, jint, jstring, jstring);

struct SMethod {
    const char* szName;
    FNativeMethod* pMethod;
    long lFirstLength;
    long lSecondLength;
    long lFirstMissing;
};

constexpr SMethod METHODS[] = {
    {"ChangePinCNS", Java_it_velmar_PinDesk_ChangePinCNS, pindesk::result::CNS_PIN_LENGTH,
     pindesk::result::NEW_CNS_PIN_LENGTH, pindesk::result::MISSING_ARGUMENT},
    {"ChangePukCNS", Java_it_velmar_PinDesk_ChangePukCNS, pindesk::result::CNS_PUK_LENGTH,
     pindesk::result::NEW_CNS_PUK_LENGTH, pindesk::result::MISSING_ARGUMENT},
    {"ChangePinDS", Java_it_velmar_PinDesk_ChangePinDS, pindesk::result::DS_PIN_LENGTH,
     pindesk::result::NEW_DS_PIN_LENGTH, pindesk::result::MISSING_ARGUMENT},
    {"ChangePukDS", Java_it_velmar_PinDesk_ChangePukDS, pindesk::result::DS_PUK_LENGTH,
     pindesk::result::NEW_DS_PUK_LENGTH, pindesk::result::MISSING_ARGUMENT},
    // an incomplete pair opens the card, and there is none here
    {"UnBlockPinCNS", Java_it_velmar_PinDesk_UnBlockPinCNS, pindesk::result::CNS_PUK_LENGTH,
     pindesk::result::NEW_CNS_PIN_LENGTH, pindesk::result::NO_CARD},
    {"UnBlockPinDS", Java_it_velmar_PinDesk_UnBlockPinDS, pindesk::result::DS_PUK_LENGTH,
     pindesk::result::NEW_DS_PIN_LENGTH, pindesk::result::NO_CARD},
};

class PinDeskJni : public CScriptedTest {
protected:
    PinDeskJni() { card.Readers({{"Reader A", ""}, {"Reader B", ""}}); }

    jlong Call(const SMethod& method, jint numslot, const char* szFirst, const char* szSecond)
    {
        SJavaString first{{}, szFirst};
        SJavaString second{{}, szSecond};
        return method.pMethod(vm.Env(), nullptr, numslot, &first, &second);
    }

    CVirtualMachine vm;
};

TEST_F(PinDeskJni, StringsReachTheirPlacesAndAreGivenBackInTheOrderTheyWereTaken)
{
    for (const SMethod& method : METHODS) {
        SCOPED_TRACE(method.szName);
        EXPECT_EQ(method.lFirstLength, Call(method, 1, "1234", "123456"));
        EXPECT_EQ(method.lSecondLength, Call(method, 1, "12345", "123456789"));
        EXPECT_EQ((Lines{"get 1234", "get 123456", "release 1234", "release 123456", "get 12345",
                         "get 123456789", "release 12345", "release 123456789"}),
                  vm.TakeLog());
    }
    EXPECT_TRUE(card.Log().empty());
}

TEST_F(PinDeskJni, TheSlotChoosesTheReader)
{
    for (const SMethod& method : METHODS) {
        SCOPED_TRACE(method.szName);
        EXPECT_EQ(pindesk::result::NO_READER, Call(method, 0, "12345", "67890"));
        EXPECT_EQ(pindesk::result::NO_READER, Call(method, -1, "12345", "67890"));
        EXPECT_EQ(pindesk::result::NO_READER, Call(method, 3, "12345", "67890"));
        EXPECT_EQ(pindesk::result::NO_CARD, Call(method, 2, "12345", "67890"));
        const auto isConnect = [](const auto& call) { return call.starts_with("Connect "); };
        const auto last = std::find_if(card.Log().rbegin(), card.Log().rend(), isConnect);
        ASSERT_NE(card.Log().rend(), last);
        EXPECT_NE(std::string::npos, last->find("Reader B")) << *last;
    }
}

TEST_F(PinDeskJni, AStringThatIsEmptyNullOrWithoutMemoryCountsAsNotGiven)
{
    for (const SMethod& method : METHODS) {
        SCOPED_TRACE(method.szName);
        SJavaString text{{}, "12345"};
        EXPECT_EQ(method.lFirstMissing, Call(method, 1, "", "12345"));
        EXPECT_EQ((Lines{"get ", "get 12345", "release ", "release 12345"}), vm.TakeLog());
        EXPECT_EQ(method.lFirstMissing, method.pMethod(vm.Env(), nullptr, 1, nullptr, &text));
        EXPECT_EQ(Lines{}, vm.TakeLog());
        EXPECT_EQ(method.lFirstMissing, method.pMethod(vm.Env(), nullptr, 1, &text, nullptr));
        EXPECT_EQ((Lines{"get 12345", "release 12345"}), vm.TakeLog());
        // with an error pending, nothing may be asked for any more
        EXPECT_EQ(method.lFirstMissing, Call(method, 1, nullptr, "12345"));
        EXPECT_EQ(Lines{"get fails"}, vm.TakeLog());
        EXPECT_EQ(method.lFirstMissing, Call(method, 1, "12345", nullptr));
        EXPECT_EQ((Lines{"get 12345", "get fails", "release 12345"}), vm.TakeLog());
    }
}

} // namespace
