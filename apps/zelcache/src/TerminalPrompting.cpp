#include "TerminalPrompting.h"

#include "references/ResourceReferenceUtils.h"

#include <QFile>

#include <algorithm>

#include <unistd.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

bool isYes(const QByteArray &line)
{
    const QByteArray answer = line.trimmed().toLower();
    return answer == "y" || answer == "yes";
}

QString questionFor(qsizetype count)
{
    return count == 1 ? u"Fetch it? [y/N]"_s : u"Fetch these %1 resources? [y/N]"_s.arg(count);
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
    if (::isatty(STDIN_FILENO) == 0) {
        output->warning(u"Nobody can be asked, since standard input is no terminal; "
                        "--yes answers in advance."_s);
        return false;
    }
    for (const auto &reference : references)
        output->line(reference->referenceText(true));
    output->question(questionFor(references.size()));
    QFile input;
    return input.open(STDIN_FILENO, QIODevice::ReadOnly) && isYes(input.readLine());
}

} // namespace zel::cli
