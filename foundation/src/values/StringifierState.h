#pragma once

#include <QDebug>
#include <QString>

namespace zel {

/// How values write themselves as one text for people: handed along from a value to those that it
/// is made of, so that all of them write alike. Without spaces between the parts and without quotes
/// around strings, unless it is told otherwise.
class StringifierState
{
public:
    /// A stream that appends to the text, which must outlive it.
    QDebug writerTo(QString *text) const
    {
        QDebug writer(text);
        writer.setAutoInsertSpaces(insertsSpaces);
        if (!quotesStrings)
            writer.noquote();
        return writer;
    }

    bool insertsSpaces = false; ///< a space between two parts
    bool quotesStrings = false; ///< quotes around strings, with escapes in them
};

} // namespace zel
