// SPDX-License-Identifier: Apache-2.0
//
// The process's one service, made from the environment when it is first asked for.

#ifndef TOOLS_VIRTUALCARD_INPROCESS_CURRENT_H
#define TOOLS_VIRTUALCARD_INPROCESS_CURRENT_H

#include "inprocess/service.h"

#include <memory>

namespace vcard {

/// The service, or null where the environment is wrong; what is wrong was then said on standard
/// error.
std::shared_ptr<CService> CurrentService();

/// Forgets the service: the next call makes a new one, with new cards, from the environment as it
/// is then.
void ForgetService();

} // namespace vcard

#endif
