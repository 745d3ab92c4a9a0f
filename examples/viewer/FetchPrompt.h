#pragma once

#include "ResourcePromptingInterface.h"

#include <QCoreApplication>

#include <optional>

QT_BEGIN_NAMESPACE
class QWidget;
QT_END_NAMESPACE

namespace viewer {

/// Asks the user before resources are fetched. The library calls it, and only if it has to fetch.
///
/// Made for one click on "Fetch": an answer for all holds for the resources of that click.
/// Lives no longer than the window, unlike the manager's default interface: that one is destroyed
/// when the process ends, where no widget can exist any more.
class FetchPrompt : public zel::ResourcePromptingInterface
{
    Q_DECLARE_TR_FUNCTIONS(viewer::FetchPrompt)

public:
    using References = QList<QSharedPointer<zel::ResourceReference>>;

    FetchPrompt(QWidget *window, qsizetype resourceCount);

    bool confirmRetrieve(const References &references) override;
    References confirmedReferences() override { return confirmed; }

private:
    bool ask(const References &references);

    QWidget *const window;
    const qsizetype resourceCount;
    std::optional<bool> answerForAll;
    References confirmed;
};

} // namespace viewer
