// SPDX-License-Identifier: Apache-2.0
//
// The door for tests.

#include "inprocess/control.h"

#include "inprocess/current.h"

#include <algorithm>

void vcard_restart(void)
{
    vcard::ForgetService();
}

int vcard_play(const char* szEvent)
{
    const vcard::EEvent event = vcard::EventNamed(szEvent);
    const auto service = vcard::CurrentService();
    if (event == vcard::EEvent::NONE || service == nullptr) {
        return -1;
    }
    service->Play(event);
    return 0;
}

size_t vcard_counters(char* szBuffer, size_t cbBuffer)
{
    const auto service = vcard::CurrentService();
    const std::string strCounters = service == nullptr ? "{}" : service->Counters().dump();
    if (szBuffer != nullptr && cbBuffer > 0) {
        const std::size_t cb = std::min(strCounters.size(), cbBuffer - 1);
        std::copy_n(strCounters.data(), cb, szBuffer);
        szBuffer[cb] = '\0';
    }
    return strCounters.size();
}

size_t vcard_open_handles(void)
{
    const auto service = vcard::CurrentService();
    return service == nullptr ? 0 : service->Open();
}
