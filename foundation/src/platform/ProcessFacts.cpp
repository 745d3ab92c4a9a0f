#include "platform/ProcessFacts.h"

#include "files/NativePath.h"
#include "platform/ProcessIdentity.h"

#include <QDir>
#include <QFile>

#include <array>
#include <filesystem>
#include <string>

#include <pwd.h>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<QByteArray> contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? std::optional(file.readAll()) : std::nullopt;
}

/// As QDir::tempPath() gives it there. What the process has set since its start is not seen.
std::optional<QString> temporaryFolderOf(const QString &folder)
{
    const auto environment = contentOf(folder + u"/environ"_s);
    if (!environment || environment->isEmpty())
        return {};
    QString path = u"/tmp"_s;
    for (const QByteArray &variable : environment->split('\0')) {
        if (variable.startsWith("TMPDIR=") && variable.size() > 7)
            path = QFile::decodeName(variable.mid(7));
    }
    return QDir::cleanPath(path);
}

QString nameOfUser(uint id)
{
    std::array<char, 4096> texts {};
    struct passwd entry = {};
    struct passwd *found = nullptr;
    const bool isKnown = ::getpwuid_r(id, &entry, texts.data(), texts.size(), &found) == 0 && found;
    return isKnown ? QString::fromLocal8Bit(found->pw_name) : QString::number(id);
}

/// By whose rights it acts. The owner of its folder does not tell: that is the administrator for
/// every process that nobody may look into.
QString userOf(const QString &folder)
{
    const QByteArray status = contentOf(folder + u"/status"_s).value_or(QByteArray());
    for (const QByteArray &line : status.split('\n')) {
        if (line.startsWith("Uid:")) // the real one, the effective one, ...
            return nameOfUser(line.simplified().split(' ').value(2).toUInt());
    }
    return {};
}

} // namespace

ProcessFacts ProcessFacts::of(qint64 processId)
{
    const QString folder = u"/proc/%1"_s.arg(processId);
    ProcessFacts facts;
    facts.started = ProcessIdentity::startOf(processId);
    facts.exists = facts.started.has_value();
    if (!facts.exists)
        return facts;
    facts.program = programOf(processId);
    facts.user = userOf(folder);
    facts.temporaryFolder = temporaryFolderOf(folder);
    return facts;
}

QString ProcessFacts::programOf(qint64 processId)
{
    const auto name = contentOf(u"/proc/%1/comm"_s.arg(processId));
    return QString::fromLocal8Bit(name.value_or(QByteArray()).trimmed());
}

std::optional<bool> ProcessFacts::hasOpen(qint64 processId, const QString &path)
{
    namespace fs = std::filesystem;
    const fs::path file = nativePath(path);
    std::error_code failure;
    if (!fs::exists(file, failure))
        return {};
    fs::directory_iterator opened("/proc/" + std::to_string(processId) + "/fd", failure);
    if (failure)
        return {};
    while (opened != fs::directory_iterator()) {
        std::error_code notComparable;
        if (fs::equivalent(opened->path(), file, notComparable))
            return true;
        opened.increment(failure);
        if (failure)
            return {};
    }
    return false;
}

} // namespace zel
