#include "http/CheckBehind.h"

#include "errors/Propagate.h"
#include "http/WorkBehind.h"

namespace zel {

CheckBehind::CheckBehind(const ExpectedContent &expected)
    : check(expected)
{
}

CheckBehind::~CheckBehind() = default;

void CheckBehind::addBytes(const QByteArray &piece)
{
    if (!needsBytes())
        return;
    if (!adder) {
        adder = std::make_unique<WorkBehind>([this](const QByteArray &bytes) {
            check.addBytes(bytes.constData(), bytes.size());
            return Error();
        });
    }
    ZEL_IGNORE(adder->add(piece)); // to add up cannot fail
}

void CheckBehind::reset()
{
    adder.reset();
    check.reset();
}

Error CheckBehind::verify(qint64 size)
{
    if (adder)
        ZEL_IGNORE(adder->drain()); // as above
    return ZEL_PASS(check.verify(size));
}

} // namespace zel
