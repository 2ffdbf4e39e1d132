// SPDX-License-Identifier: Apache-2.0
//
// Changes the CNS PIN, as carefully as can be. The old and the new value stand on two lines of
// standard input. C++17.

#include <pindesk/desk.hpp>

#include <cstring>
#include <iostream>

namespace {

/// A line typed, wiped when it is no longer needed.
struct typed {
    explicit typed(const char* question)
    {
        std::cerr << question;
        std::cin.getline(text, sizeof text);
    }
    ~typed() { explicit_bzero(text, sizeof text); }
    typed(const typed&) = delete;
    typed& operator=(const typed&) = delete;

    char text[16] = {};
};

} // namespace

int main()
{
    using namespace std::chrono_literals;
    using pindesk::secret;
    pindesk::desk desk;
    auto card = desk.wait_for_card(20s);
    auto report = desk.check(card, pindesk::operation::change, secret::cns_pin);
    if (report) { // there is a card, and its PIN can be changed
        const typed old_value("CNS PIN: "), new_value("new CNS PIN: ");
        report = desk.change(card, secret::cns_pin, old_value.text, new_value.text);
    }
    std::cout << report.text() << '\n' << report.advice() << '\n';
    return static_cast<int>(report.outcome);
}
