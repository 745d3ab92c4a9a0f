#include "errors/Error.h"

#include <QHashFunctions>

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error::Error(ErrorCode code)
    : code(code)
{
}

Error::Error(ErrorCode code, const QString &message)
    : code(code)
    , message(message)
{
}

Error::Error(int code)
    : Error(static_cast<ErrorCode>(code))
{
}

Error::Error(int code, const QString &message)
    : Error(static_cast<ErrorCode>(code), message)
{
}

bool Error::equals(const Error &other) const
{
    return code == other.code && message == other.message;
}

Error &Error::ecatch(const char *function, const char *file, int line)
{
    passed.append({ function, file, line });
    return *this;
}

QString Error::description() const
{
    QString text = u"error %1: %2"_s.arg(QString::number(static_cast<int>(code)), message);
    for (const TracePoint &point : passed) {
        text += u"\n    %1 (%2:%3)"_s.arg(QString::fromUtf8(point.function),
                                          QString::fromUtf8(point.file),
                                          QString::number(point.line));
    }
    return text;
}

Error &Error::addWarning(const QString &text)
{
    addWarningInternal(text);
    return *this;
}

Error &Error::addWarnings(const QList<QString> &moreTexts)
{
    addWarningsInternal(moreTexts);
    return *this;
}

Error &Error::clearWarnings()
{
    clearWarningsInternal();
    return *this;
}

size_t qHash(const Error &error, size_t seed)
{
    return qHashMulti(seed, static_cast<int>(error.errorCode()), error.errorMessage());
}

} // namespace zel
