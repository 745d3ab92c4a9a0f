#include "platform/AccessReason.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <unistd.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

/// 0 or a number of <cerrno>.
int refusalOf(const QString &path, int rights)
{
    return ::access(QFile::encodeName(path).constData(), rights) == 0 ? 0 : errno;
}

QString reasonText(const QString &path, int refusal)
{
    return refusal == 0 ? QString() : u"\"%1\": %2"_s.arg(path, qt_error_string(refusal));
}

} // namespace

QString whyUnreadable(const QString &path)
{
    return reasonText(path, refusalOf(path, R_OK));
}

QString whyUnwritable(const QString &folder)
{
    QString place = QFileInfo(folder).absoluteFilePath();
    const auto isNothing = [&place](int refusal) {
        return (refusal == ENOENT || refusal == ENOTDIR) && place != u"/"_s;
    };
    while (isNothing(refusalOf(place, F_OK)))
        place = QFileInfo(place).path();
    // A plain file refuses, too, but for want of a right that nobody needs.
    return QFileInfo(place).isDir() ? reasonText(place, refusalOf(place, W_OK | X_OK))
                                    : reasonText(place, ENOTDIR);
}

QString whyNoFile(const QString &path)
{
    return QFileInfo(path).isDir() ? reasonText(path, EISDIR) : QString();
}

QString whyNotExecutable(const QString &path)
{
    return qt_error_string(QFileInfo(path).isDir() ? EISDIR : refusalOf(path, X_OK));
}

Error withReason(const Error &failure, const QString &reason)
{
    return reason.isEmpty() ? failure
                            : Error(failure.errorCode(), failure.errorMessage() + u'\n' + reason);
}

} // namespace zel::cli
