#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace zel::test {

/// One text of a library and what a catalogue has for it.
struct Message
{
    QString context;
    QString source;
    QStringList translations; ///< one; as many as the language has plural forms for a counted text
    QString type; ///< "unfinished", "obsolete", "vanished"; empty for a finished one
    QStringList places; ///< "file:line", if the catalogue tells

    QString key() const { return context + QStringLiteral(": ") + source; }
};

/// Reads translations/*.ts; fails the test if the file is none.
QList<Message> readCatalogue(const QString &path);

/// The catalogues of the tree.
QStringList cataloguePaths();

} // namespace zel::test
