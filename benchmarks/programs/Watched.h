#pragma once

#include "Contestant.h"
#include "HoldWatch.h"

namespace zel::bench {

/// A contestant whose holds of the semaphore are watched. Of a round's holds the longest one is
/// what others feel.
class Watched : public Contestant
{
public:
    int run() override;
    Figures figures() const override;

protected:
    virtual void work() = 0;

private:
    std::vector<Hold> holds;
};

} // namespace zel::bench
