#pragma once

#include <QStringList>

namespace zel::bench {

/// A closed cache in `directory` with so many resources that are Ready, without files. Once, for
/// all processes that share the directory. Gives their references.
QStringList fillCache(const QString &directory, int resources);
/// The database of a cache in `directory`.
QString databaseOf(const QString &directory);
/// Copies the journal back, as SQLite does now and then.
void emptyJournal(const QString &databasePath);

} // namespace zel::bench
