// SPDX-License-Identifier: Apache-2.0
//
// Binds what the C++ runtime binds inside itself at the first use of a heap function. The loader's
// resolver saves the registers on the stack and leaves them there, and what an operation frees may
// have held a secret a moment ago. So the first use comes when the library is loaded, where no
// secret is.

#include <new>

namespace {

[[gnu::constructor]] void BindRuntime()
{
    ::operator delete[](::operator new[](1, std::nothrow)); // these call the others
}

} // namespace
