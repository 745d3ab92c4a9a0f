#pragma once

#include <dlfcn.h>

/// What a wrapper of a system call needs to be called by the libraries of the program, too.
#define ZEL_VISIBLE __attribute__((visibility("default")))

namespace zel::test {

/// The function that would have been called if there was no wrapper of that name.
template<typename Function>
Function original(const char *name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace zel::test
