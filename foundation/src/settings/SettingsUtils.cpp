#include "settings/SettingsUtils.h"

#include <QDir>
#include <QStandardPaths>

namespace zel {

using namespace Qt::Literals::StringLiterals;

QString SettingsUtils::settingsFilePath(const QString &fileName)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    return QDir::cleanPath(folder + u"/../"_s + fileName);
}

} // namespace zel
