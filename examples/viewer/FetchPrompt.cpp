#include "FetchPrompt.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace viewer {

namespace {

/// The box takes what looks like markup for markup, so all of it is made to be some.
QString richTextOf(const FetchPrompt::References &references)
{
    QStringList lines;
    for (const auto &reference : references)
        lines.append(reference->referenceText(true).toHtmlEscaped());
    return u"<qt>"_s + lines.join(u"<br>"_s);
}

} // namespace

FetchPrompt::FetchPrompt(QWidget *window, qsizetype resourceCount)
    : window(window)
    , resourceCount(resourceCount)
{
}

bool FetchPrompt::confirmRetrieve(const References &references)
{
    const bool isAgreed = answerForAll ? *answerForAll : ask(references);
    confirmed = isAgreed ? references : References();
    return isAgreed;
}

bool FetchPrompt::ask(const References &references)
{
    QMessageBox box(QMessageBox::Question, tr("Fetch"), tr("Fetch this into the cache?"),
                    QMessageBox::NoButton, window);
    box.setInformativeText(richTextOf(references));
    const QPushButton *fetch = box.addButton(tr("Fetch"), QMessageBox::AcceptRole);
    box.addButton(tr("Not now"), QMessageBox::RejectRole);
    QCheckBox forAll(tr("Do the same for all that are selected"));
    if (resourceCount > 1)
        box.setCheckBox(&forAll);

    // The library waits for the answer, the program does not: exec() goes on delivering events, so
    // that other fetches proceed. What the user could break meanwhile, the box keeps from him.
    box.exec();
    const bool isAgreed = box.clickedButton() == fetch;
    if (forAll.isChecked())
        answerForAll = isAgreed;
    return isAgreed;
}

} // namespace viewer
