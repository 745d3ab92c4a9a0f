#pragma once

#include "TemporaryCache.h"
#include "TickingServer.h"
#include "ViewerWindow.h"

#include <QStringList>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

QT_BEGIN_NAMESPACE
class QMessageBox;
class QTreeWidgetItem;
QT_END_NAMESPACE

namespace zel::test {

/// The viewer's window on a screen that nobody sees, on a cache of its own. Whatever a user does is
/// done with the mouse and the keyboard.
class ViewerFixture : public testing::Test
{
protected:
    ViewerFixture();
    ~ViewerFixture() override;

    void type(const QString &reference);
    void click(const QString &buttonName);
    void clickRow(const QString &name, Qt::KeyboardModifiers modifiers = {});
    void setAsking(bool asks);
    /// Clicks this button of every question that appears from now on, and ticks its box first if
    /// it is to hold for all. Without a name nothing is clicked.
    void answer(const QString &buttonText, bool forAll = false);

    QTreeWidgetItem *row(const QString &name) const;
    QString state(const QString &name) const;
    int percent(const QString &name) const;
    QString details() const;
    bool isEnabled(const QString &buttonName) const;
    static bool waitFor(const std::function<bool()> &condition);
    bool waitForState(const QString &name, const QString &text) const;

    TemporaryCache directory;
    TickingServer server;
    std::unique_ptr<viewer::ViewerWindow> window;
    QStringList questions; ///< what was asked
    std::function<void(QWidget *)> atQuestion; ///< called before it is answered
    int ticks = 0; ///< how often the event loop has turned

private:
    void answerQuestion(QMessageBox *box);

    QTimer clock;
    QTimer answering;
    QString answerText;
    bool isForAll = false;
};

} // namespace zel::test
