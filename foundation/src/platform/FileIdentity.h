#pragma once

#include <QByteArray>
#include <QString>

namespace zel {

/// Tells one file or folder from another that comes to lie at the same path, or that gets its
/// number when it has gone; a link stands for what it leads to. Changes as well when permissions or
/// a file's content do. Empty if nothing is there. Of no use but to be compared.
QByteArray fileIdentity(const QString &path);

} // namespace zel
