// SPDX-License-Identifier: Apache-2.0

#include "cardlib/support/settings.h"
#include "pindesk/PinDesk.h"

long PINDESK_ChangeSetting(const char* szSettingName, long lVal)
{
    ChangeSetting(szSettingName, lVal);
    return 0;
}
