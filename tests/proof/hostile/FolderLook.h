#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

namespace zel::test {

/// By path, the bytes of each file below a folder, and of each link where it leads to, in whatever
/// way that is there or not. Left out are these paths, with what is below them. No link is
/// followed.
QMap<QString, QByteArray> contentsBelow(const QString &folder, const QStringList &leftOut);

/// What no server may bring about below the folder of a cache, a sentence with its path each:
/// links, what is neither file nor folder, and the secret in a name, in bytes or in the target of a
/// link.
QStringList faultsBelow(const QString &folder, const QByteArray &secret);

} // namespace zel::test
