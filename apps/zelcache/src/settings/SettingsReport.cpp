#include "settings/SettingsReport.h"

#include "settings/SettingValue.h"

#include <QCoreApplication>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::SettingsReport)
};

QVariant valueOf(SettingKey key, const ResourceManagerSettings &settings)
{
    switch (key) {
    case SettingKey::CacheLocationPath:
        return settings.cachePath.baseDirPath().toString();
    case SettingKey::OptimalCacheSize:
        return qlonglong(settings.sizes.optimalSize);
    case SettingKey::MaximumCacheSize:
        break;
    }
    return qlonglong(settings.sizes.maximumSize);
}

/// Whether the library takes the value that the file has.
bool isTaken(SettingKey key, const QVariant &value)
{
    return key != SettingKey::CacheLocationPath || !value.toString().isEmpty();
}

SettingOrigin originOf(SettingKey key, const SettingsFile &file, bool cacheIsGiven)
{
    if (key == SettingKey::CacheLocationPath && cacheIsGiven)
        return SettingOrigin::CommandLine;
    const auto found = file.values.constFind(key);
    const bool isInForce = found != file.values.cend() && isTaken(key, *found);
    return isInForce ? SettingOrigin::IniFile : SettingOrigin::Default;
}

QString warningOf(SettingKey key, const SettingsFile &file)
{
    const auto found = file.values.constFind(key);
    if (const QString name = file.misspelled.value(key); !name.isEmpty())
        return Texts::tr("%1 in %2 counts for nothing; letter case counts: %3")
            .arg(name, file.path, iniKey(key));
    const QString complaint = found == file.values.cend() ? QString() : complaintAbout(key, *found);
    if (complaint.isEmpty())
        return {};
    return Texts::tr("%1 in %2 %3").arg(settingName(key), file.path, complaint);
}

QString warningOf(const SettingsFile &file)
{
    if (!file.isReadable)
        return Texts::tr("%1 cannot be read; the defaults count").arg(file.path);
    if (file.hasBadLines)
        return Texts::tr("%1 has lines that are no settings; they count for nothing")
            .arg(file.path);
    return {};
}

/// Told of the setting that somebody wrote.
void judgeOrder(SettingsReport &report, const ResourceCacheSizes &sizes)
{
    if (sizes.optimalSize <= sizes.maximumSize)
        return;
    const bool hasOptimal = report.file.values.contains(SettingKey::OptimalCacheSize);
    const auto key = hasOptimal ? SettingKey::OptimalCacheSize : SettingKey::MaximumCacheSize;
    QString &warning = report.settings[qsizetype(key)].warning;
    if (!warning.isEmpty())
        return;
    warning = Texts::tr("%1 in %2 puts the optimal size %3 above the maximum %4")
                  .arg(settingName(key), report.file.path, sizeAndBytesText(sizes.optimalSize),
                       sizeAndBytesText(sizes.maximumSize));
}

QString originText(SettingOrigin origin)
{
    switch (origin) {
    case SettingOrigin::CommandLine:
        return Texts::tr("command line");
    case SettingOrigin::IniFile:
        return Texts::tr("ini file");
    case SettingOrigin::Default:
        break;
    }
    return Texts::tr("default");
}

QString originName(SettingOrigin origin)
{
    switch (origin) {
    case SettingOrigin::CommandLine:
        return u"commandLine"_s;
    case SettingOrigin::IniFile:
        return u"iniFile"_s;
    case SettingOrigin::Default:
        break;
    }
    return u"default"_s;
}

} // namespace

QStringList SettingsReport::warnings() const
{
    QStringList texts { fileWarning };
    for (const Setting &setting : settings)
        texts.append(setting.warning);
    texts.removeAll(QString());
    return texts;
}

SettingsReport settingsReport(const SettingsFile &file, const ResourceManagerSettings &inForce,
                              bool cacheIsGiven)
{
    SettingsReport report;
    report.file = file;
    report.fileWarning = warningOf(file);
    for (const SettingKey key : allSettingKeys())
        report.settings.append({ key, valueOf(key, inForce), originOf(key, file, cacheIsGiven),
                                 warningOf(key, file) });
    judgeOrder(report, inForce.sizes);
    return report;
}

QStringList settingsLines(const SettingsReport &report)
{
    qsizetype nameColumns = 0;
    qsizetype valueColumns = 0;
    for (const Setting &setting : report.settings) {
        nameColumns = std::max(nameColumns, settingName(setting.key).size());
        valueColumns = std::max(valueColumns, valueText(setting.value).size());
    }
    QStringList lines;
    for (const Setting &setting : report.settings)
        lines.append(u"%1  %2  %3"_s.arg(settingName(setting.key).leftJustified(nameColumns),
                                         valueText(setting.value).leftJustified(valueColumns),
                                         originText(setting.origin)));
    return lines;
}

QString valueText(const QVariant &value)
{
    return value.typeId() == QMetaType::LongLong ? sizeAndBytesText(value.toLongLong())
                                                 : value.toString();
}

QJsonObject settingJson(const Setting &setting)
{
    return { { u"key"_s, settingName(setting.key) },
             { u"value"_s, QJsonValue::fromVariant(setting.value) },
             { u"origin"_s, originName(setting.origin) } };
}

QJsonObject fileJson(const SettingsFile &file)
{
    return { { u"file"_s, file.path }, { u"exists"_s, file.exists } };
}

} // namespace zel::cli
