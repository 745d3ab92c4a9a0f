#pragma once

#include <QStringList>

namespace zel::cli {

/// The one of the words that somebody may have meant who wrote this; empty if none is so near. Of
/// several the first. Letter case does not count.
QString nearestWord(const QString &written, const QStringList &words);

} // namespace zel::cli
