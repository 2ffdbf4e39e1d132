// SPDX-License-Identifier: Apache-2.0

#include "cardlib/support/exchanges.h"

thread_local CExchangeWatch* CExchangeWatch::t_pNow = nullptr;
