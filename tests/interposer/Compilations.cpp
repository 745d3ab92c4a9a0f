#include "Compilations.h"

#include "SqliteFunction.h"
#include "Wrapper.h"

#include <atomic>

namespace {

std::atomic<bool> isCounting = false;
std::atomic<int> compilations = 0;

} // namespace

namespace zel::test {

void startCountingCompilations()
{
    compilations = 0;
    isCounting = true;
}

int stopCountingCompilations()
{
    isCounting = false;
    return compilations;
}

} // namespace zel::test

extern "C" {

ZEL_VISIBLE int sqlite3_prepare16_v2(void *connection, const void *text, int bytes,
                                     void **statement, const void **tail)
{
    using Function = int (*)(void *, const void *, int, void **, const void **);
    static const auto prepare = zel::test::sqliteFunction<Function>("sqlite3_prepare16_v2");
    if (isCounting)
        ++compilations;
    return prepare(connection, text, bytes, statement, tail);
}

} // extern "C"
