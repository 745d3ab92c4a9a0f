#include "platform/KeptDescriptor.h"

#include <unistd.h>

namespace zel {

KeptDescriptor::~KeptDescriptor()
{
    closeSpare();
}

void KeptDescriptor::hold()
{
    ++holders;
}

void KeptDescriptor::letGo()
{
    if (--holders == 0)
        closeSpare();
}

void KeptDescriptor::renew()
{
    ++generation;
    closeSpare();
}

KeptDescriptor::Taken KeptDescriptor::take()
{
    // The generation first: one that ends meanwhile ends for what is opened now, too.
    const unsigned current = generation;
    return { spare.exchange(-1), current };
}

void KeptDescriptor::giveBack(const Taken &taken)
{
    if (taken.descriptor < 0)
        return;
    int none = -1;
    if (!spare.compare_exchange_strong(none, taken.descriptor)) {
        close(taken.descriptor);
        return;
    }
    // Behind the store: whoever lets go or renews at this moment sees the descriptor, or is seen.
    if (holders == 0 || taken.generation != generation)
        closeSpare();
}

void KeptDescriptor::closeSpare()
{
    const int descriptor = spare.exchange(-1);
    if (descriptor >= 0)
        close(descriptor);
}

} // namespace zel
