#pragma once

#include "Export.h"

#include <QList>
#include <QStandardPaths>
#include <QString>

namespace zel {

/// The path of a file or folder below a location of the application's data: `fileName` is appended
/// to the location as it stands, so it may lead out of it by "..".
///
/// The locations are tried in order; none means the user's own, not roaming, application data. The
/// first one in which the file exists wins. If it exists nowhere, the answer is its place in the
/// first location when `evenIfMissing` is set, and empty otherwise. Nothing is created.
ZEL_RESOURCE_MANAGER_EXPORT QString getAppDataLocationFile(
    QString fileName, bool evenIfMissing, const QList<QStandardPaths::StandardLocation> &locations);

} // namespace zel
