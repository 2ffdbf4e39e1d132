// SPDX-License-Identifier: Apache-2.0
//
// A host of the shared library that is linked with libcrypto, or is not ("with" or "without" says
// which it must be). In both the library loads and works; only the big numbers need libcrypto.

#include <cstdio>
#include <dlfcn.h>
#include <memory>
#include <string>

#include "cardlib/pkcs1.h"

namespace {

int Fail(const char* szWhat)
{
    std::fprintf(stderr, "%s\n", szWhat);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    const bool bExpected = argc > 1 && std::string(argv[1]) == "with";
    if ((dlsym(RTLD_DEFAULT, "BN_bin2bn") != nullptr) != bExpected) {
        return Fail("this process has libcrypto and should not, or the other way round");
    }

    const unsigned char number[] = {0x00, 0x00, 0x01, 0x02};
    if (GetLengthUnpadded(number, sizeof number, 0x02) != 3) {
        return Fail("GetLengthUnpadded");
    }

    unsigned long cb = sizeof number;
    const std::unique_ptr<unsigned char[]> normal(NormalizeASN1Integer(number, &cb));
    if (!bExpected) {
        return normal == nullptr && cb == sizeof number ? 0 : Fail("a number without libcrypto");
    }
    return normal != nullptr && cb == 2 && normal[0] == 1 && normal[1] == 2 ? 0 : Fail("no number");
}
