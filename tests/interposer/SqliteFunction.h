#pragma once

#include <cstdlib>

#include <dlfcn.h>

namespace zel::test {

/// A function of SQLite's library, for who stands before it. The driver loads that library for
/// itself, out of sight of RTLD_NEXT.
template<typename Function>
Function sqliteFunction(const char *name)
{
    void *library = ::dlopen("libsqlite3.so.0", RTLD_NOW | RTLD_LOCAL);
    void *function = library ? ::dlsym(library, name) : nullptr;
    if (!function)
        std::abort();
    return reinterpret_cast<Function>(function);
}

} // namespace zel::test
