#include "ArchiveReports.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace archive {

QString reportPathFor(const QString &runPath)
{
    return runPath + u".report.json"_s;
}

QList<QString> ArchiveReports::getAssociatedResources(const QString &path) const
{
    // Asked for every mzML file of the cache, from whichever scheme: most have no report.
    const QString report = reportPathFor(path);
    return QFileInfo::exists(report) ? QList<QString> { report } : QList<QString>();
}

} // namespace archive
