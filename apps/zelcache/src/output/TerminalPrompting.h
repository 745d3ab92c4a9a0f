#pragma once

#include "output/Output.h"

#include "ResourcePromptingInterface.h"

namespace zel::cli {

/// Asks the user at the terminal, once for all resources: what has been answered is not asked
/// again. Without a terminal nobody can answer, which counts as no.
class TerminalPrompting : public ResourcePromptingInterface
{
public:
    /// `alwaysYes` answers in the user's place. The output is borrowed.
    TerminalPrompting(Output *output, bool alwaysYes);

    bool confirmRetrieve(const QList<QSharedPointer<ResourceReference>> &references) override;
    QList<QSharedPointer<ResourceReference>> confirmedReferences() override;

private:
    bool isAnswered(const QSharedPointer<ResourceReference> &reference) const;
    bool ask(const QList<QSharedPointer<ResourceReference>> &references);

    Output *output;
    bool alwaysYes;
    bool refused = false;
    QList<QSharedPointer<ResourceReference>> confirmed;
};

} // namespace zel::cli
