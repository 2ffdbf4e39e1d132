// SPDX-License-Identifier: Apache-2.0
//
// Keeps the service.

#include "inprocess/current.h"

#include <iostream>
#include <mutex>

namespace vcard {
namespace {

std::mutex g_mutex;
std::shared_ptr<CService> g_service;
bool g_bMade = false;

} // namespace

std::shared_ptr<CService> CurrentService()
{
    const std::lock_guard lock(g_mutex);
    if (!g_bMade) {
        g_bMade = true;
        try {
            g_service = std::make_shared<CService>(SettingsFromEnvironment());
        } catch (const std::exception& error) {
            std::cerr << "virtual card: " << error.what() << '\n';
        }
    }
    return g_service;
}

void ForgetService()
{
    const std::lock_guard lock(g_mutex);
    if (g_service != nullptr) {
        g_service->Stop();
    }
    g_service.reset();
    g_bMade = false;
}

} // namespace vcard
