// SPDX-License-Identifier: Apache-2.0
//
// The in-process card for tests in Java: a virtual machine cannot change its own environment.

#include "it_velmar_pindesk_CardControl.h"

#include "tools/virtualcard/inprocess/control.h"

#include <cstdlib>

void Java_it_velmar_pindesk_CardControl_variable(JNIEnv* env, jclass, jstring name, jstring value)
{
    const char* const szName = env->GetStringUTFChars(name, nullptr);
    if (value == nullptr) {
        unsetenv(szName);
    } else {
        const char* const szValue = env->GetStringUTFChars(value, nullptr);
        setenv(szName, szValue, 1);
        env->ReleaseStringUTFChars(value, szValue);
    }
    env->ReleaseStringUTFChars(name, szName);
}

void Java_it_velmar_pindesk_CardControl_restart(JNIEnv*, jclass)
{
    vcard_restart();
}

jlong Java_it_velmar_pindesk_CardControl_open(JNIEnv*, jclass)
{
    return static_cast<jlong>(vcard_open_handles());
}
