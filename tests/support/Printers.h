#pragma once

#include <QList>
#include <QString>

#include <ostream>

QT_BEGIN_NAMESPACE

/// Qt's texts as texts in the failure messages of GoogleTest.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray &bytes, std::ostream *out)
{
    *out << '"' << bytes.toStdString() << '"';
}

QT_END_NAMESPACE
