#pragma once

#include <QString>
#include <QStringList>

namespace zel {

/// The query of an address without the parameters that sign a request or open a door: signatures,
/// tokens, keys, and what belongs to them, as stores of objects and servers use them. They change
/// from one link to the next, so they say nothing about which file is meant, and are secrets.
QString publicQuery(const QString &query);
/// The values, as they stand there, of the parameters that are secrets wherever they stand.
QStringList secretsOfQuery(const QString &query);

/// The encoded path of an address without the same parameters, which stand behind semicolons there,
/// at each level: "/a;token=x/b.raw;v=2" gives "/a/b.raw;v=2".
QString publicPath(const QString &path);
/// The same of the parameters that publicPath() looks at.
QStringList secretsOfPath(const QString &path);

} // namespace zel
