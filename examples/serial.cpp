// SPDX-License-Identifier: Apache-2.0
//
// Prints the serial number of the card in the first reader. C++11.

#include <pindesk/PinDesk.h>

#include <iostream>

int main()
{
    char serial[17] = {};
    const long code = CNS_GetSerial(1, serial);
    if (code != pindesk::result::OK) {
        std::cerr << "result code " << code << '\n';
        return 1;
    }
    std::cout << serial << '\n';
    return 0;
}
