#include "get/ReferenceList.h"

#include "errors/Propagate.h"
#include "platform/Streams.h"

#include <QCoreApplication>
#include <QFile>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ReferenceList)
};

/// Many times what anybody lists; a device may have no end.
constexpr qint64 longestList = 64 * 1024 * 1024;

/// As much as there is, or one byte more than there may be.
QByteArray readBounded(QFile &file)
{
    QByteArray content;
    while (content.size() <= longestList) {
        const QByteArray part = file.read(longestList + 1 - content.size());
        if (part.isEmpty())
            break;
        content += part;
    }
    return content;
}

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
    const bool opened = filePath == u"-"_s ? file.open(streams::standardInput, QIODevice::ReadOnly)
                                           : file.open(QIODevice::ReadOnly);
    const QByteArray content = opened ? readBounded(file) : QByteArray();
    if (!opened || file.error() != QFileDevice::NoError)
        return ZEL_ERROR(
            ErrorCode::OperationFailed,
            Texts::tr("The list %1 cannot be read: %2").arg(filePath, file.errorString()));
    if (content.size() > longestList)
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         Texts::tr("The list %1 is longer than 64 MiB.").arg(filePath));
    return referencesIn(QString::fromUtf8(content), form);
}

} // namespace zel::cli
