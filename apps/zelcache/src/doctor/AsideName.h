#pragma once

#include <QByteArray>
#include <QString>

namespace zel::cli {

/// The names that unclaimed data has between being moved aside and its removal. Each tells the
/// former name, so that what a program leaves there that ends in between can go back.
namespace AsideName {

/// Beside `path`, and nobody else's.
QString pathFor(const QString &path);
bool isOne(const QByteArray &name);
/// Empty if it is not told: it was too long.
QByteArray formerName(const QByteArray &name);
/// Where the data at the path was before; empty if that is not told.
QString formerPath(const QString &path);

} // namespace AsideName
} // namespace zel::cli
