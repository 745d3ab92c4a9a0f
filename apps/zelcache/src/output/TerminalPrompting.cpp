#include "output/TerminalPrompting.h"

#include "platform/SignalWatch.h"
#include "platform/Streams.h"
#include "platform/Terminal.h"
#include "references/ResourceReferenceUtils.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::TerminalPrompting)
};

bool isYes(const QByteArray &line)
{
    const QByteArray answer = line.trimmed().toLower();
    return answer == "y" || answer == "yes" || answer == Texts::tr("y").toLocal8Bit()
        || answer == Texts::tr("yes").toLocal8Bit();
}

QString questionFor(qsizetype count)
{
    return count == 1 ? Texts::tr("Fetch it? [y/N]")
                      : Texts::tr("Fetch these %n resources? [y/N]", nullptr, int(count));
}

} // namespace

TerminalPrompting::TerminalPrompting(Output *output, bool alwaysYes)
    : output(output)
    , alwaysYes(alwaysYes)
{
}

bool TerminalPrompting::confirmRetrieve(const QList<QSharedPointer<ResourceReference>> &references)
{
    QList<QSharedPointer<ResourceReference>> open;
    std::copy_if(references.begin(), references.end(), std::back_inserter(open),
                 [this](const auto &reference) { return !isAnswered(reference); });
    if (open.isEmpty())
        return true;
    if (refused || (!alwaysYes && !ask(open))) {
        refused = true;
        return false;
    }
    confirmed += open;
    return true;
}

QList<QSharedPointer<ResourceReference>> TerminalPrompting::confirmedReferences()
{
    return confirmed;
}

bool TerminalPrompting::isAnswered(const QSharedPointer<ResourceReference> &reference) const
{
    return std::any_of(confirmed.begin(), confirmed.end(), [&reference](const auto &known) {
        return ResourceReferenceUtils::compare(known, reference);
    });
}

bool TerminalPrompting::ask(const QList<QSharedPointer<ResourceReference>> &references)
{
    if (!terminal::isTerminal(streams::standardInput)) {
        output->warning(Texts::tr("Nobody can be asked, since standard input is no terminal; "
                                  "--yes answers in advance."));
        return false;
    }
    for (const auto &reference : references)
        output->line(reference->referenceText(true));
    output->question(questionFor(references.size()));
    if (!SignalWatch::waitForInput(streams::standardInput)) {
        output->line({}); // ends the line of the question
        return false;
    }
    QFile input;
    return input.open(streams::standardInput, QIODevice::ReadOnly) && isYes(input.readLine());
}

} // namespace zel::cli
