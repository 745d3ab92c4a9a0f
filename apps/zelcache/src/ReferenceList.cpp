#include "ReferenceList.h"

#include "errors/Propagate.h"

#include <QCoreApplication>
#include <QFile>

#include <unistd.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ReferenceList)
};

} // namespace

QStringList referencesIn(const QString &text, ListForm form)
{
    if (form == ListForm::NullTerminated)
        return text.split(u'\0', Qt::SkipEmptyParts);
    QStringList references;
    for (const QString &line : text.split(u'\n')) {
        const QString reference = line.trimmed();
        if (!reference.isEmpty() && !reference.startsWith(u'#'))
            references.append(reference);
    }
    return references;
}

Result<QStringList> readReferenceList(const QString &filePath, ListForm form)
{
    QFile file(filePath);
    const bool opened = filePath == u"-"_s ? file.open(STDIN_FILENO, QIODevice::ReadOnly)
                                           : file.open(QIODevice::ReadOnly);
    const QByteArray content = opened ? file.readAll() : QByteArray();
    if (!opened || file.error() != QFileDevice::NoError)
        return ZEL_ERROR(
            ErrorCode::OperationFailed,
            Texts::tr("The list %1 cannot be read: %2").arg(filePath, file.errorString()));
    return referencesIn(QString::fromUtf8(content), form);
}

} // namespace zel::cli
