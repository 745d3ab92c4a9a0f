#include "ViewerFixture.h"

#include "ResourceCache.h"
#include "ResourceManager.h"
#include "ResourceRow.h"
#include "SchemesRegistration.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

ViewerFixture::ViewerFixture()
{
    registerResourceSchemes();
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(directory.baseDir());
    ResourceManager::overrideDefaultSettings(settings);
    window = std::make_unique<viewer::ViewerWindow>();
    window->show();
    clock.callOnTimeout([this] {
        ++ticks;
        server.tick();
    });
    clock.start(1);
}

ViewerFixture::~ViewerFixture()
{
    window->close();
    EXPECT_TRUE(waitFor([this] { return !window->isVisible(); }));
    window.reset();
    ResourceManager::cache()->close();
}

void ViewerFixture::type(const QString &reference)
{
    auto *entry = window->findChild<QLineEdit *>(u"reference"_s);
    QTest::keyClicks(entry, reference);
}

void ViewerFixture::click(const QString &buttonName)
{
    auto *button = window->findChild<QPushButton *>(buttonName);
    ASSERT_TRUE(button && button->isEnabled()) << qPrintable(buttonName);
    QTest::mouseClick(button, Qt::LeftButton);
}

void ViewerFixture::clickRow(const QString &name, Qt::KeyboardModifiers modifiers)
{
    auto *list = window->findChild<QTreeWidget *>(u"list"_s);
    const QRect place = list->visualItemRect(row(name));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, modifiers,
                      QPoint(place.left() + 40, place.center().y()));
}

void ViewerFixture::setAsking(bool asks)
{
    auto *box = window->findChild<QCheckBox *>(u"ask"_s);
    if (box->isChecked() != asks)
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    ASSERT_EQ(box->isChecked(), asks);
}

void ViewerFixture::answer(const QString &buttonText, bool forAll)
{
    answerText = buttonText;
    isForAll = forAll;
    answering.callOnTimeout([this] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget()))
            answerQuestion(box);
    });
    answering.start(5);
}

void ViewerFixture::answerQuestion(QMessageBox *box)
{
    questions.append(box->informativeText());
    if (atQuestion)
        atQuestion(box);
    if (isForAll) {
        ASSERT_TRUE(box->checkBox());
        QTest::mouseClick(box->checkBox(), Qt::LeftButton, {},
                          QPoint(8, box->checkBox()->height() / 2));
    }
    for (QAbstractButton *button : box->buttons()) {
        if (button->text() == answerText)
            QTest::mouseClick(button, Qt::LeftButton);
    }
}

QTreeWidgetItem *ViewerFixture::row(const QString &name) const
{
    const auto *list = window->findChild<QTreeWidget *>(u"list"_s);
    return list->findItems(name, Qt::MatchExactly).value(0);
}

QString ViewerFixture::state(const QString &name) const
{
    const QTreeWidgetItem *item = row(name);
    return item ? item->text(viewer::ResourceRow::StateColumn) : QString();
}

int ViewerFixture::percent(const QString &name) const
{
    auto *list = window->findChild<QTreeWidget *>(u"list"_s);
    const auto *cell = list->itemWidget(row(name), viewer::ResourceRow::ProgressColumn);
    return cell->findChild<QProgressBar *>()->value();
}

QString ViewerFixture::details() const
{
    return window->findChild<QLabel *>(u"details"_s)->text();
}

bool ViewerFixture::isEnabled(const QString &buttonName) const
{
    return window->findChild<QPushButton *>(buttonName)->isEnabled();
}

bool ViewerFixture::waitFor(const std::function<bool()> &condition)
{
    constexpr int limit = 40'000; // far above what anything takes
    return QTest::qWaitFor(condition, limit);
}

bool ViewerFixture::waitForState(const QString &name, const QString &text) const
{
    return waitFor([&] { return state(name) == text; });
}

} // namespace zel::test

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
