// A hostile tree, made of the lines of the input, in which every entry is asked for its format:
// that ends, gives known names and changes nothing.
//
//   d PATH          a folder
//   f PATH CONTENT  a file
//   l PATH TARGET   a link
//   p PATH          a pipe that nobody writes to
#include "Fuzzing.h"

#include "DataFormats.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

#include <sys/stat.h>

namespace {

using namespace zel;
using namespace zel::fuzz;
using namespace Qt::Literals::StringLiterals;

constexpr int mostEntries = 40;

/// Where the entry goes; empty if the name leads out of the tree.
QString placeOf(const QString &name)
{
    const QString root = pathOf(u"tree"_s);
    const QString path = QDir::cleanPath(root + u'/' + name);
    const bool isUsable = path.startsWith(root + u'/') && !path.contains(QChar(0));
    return isUsable ? path : QString();
}

/// Links lead to devices and to places in the folder. One to all of the machine would only take
/// time.
QString targetOf(const QString &target, const QString &folder)
{
    const QString place = QDir::cleanPath(QDir(folder).absoluteFilePath(target));
    return place.startsWith(pathOf({})) || place.startsWith(u"/dev/"_s) ? target
                                                                        : pathOf(u"outside.d"_s);
}

void makeEntry(const QByteArray &line)
{
    const QString name = QString::fromUtf8(line.mid(2)).section(u' ', 0, 0);
    const QString rest = QString::fromUtf8(line.mid(2)).section(u' ', 1);
    const QString path = placeOf(name);
    // No link on the way: it might lead out of the tree.
    const QString folder = QFileInfo(path).path();
    if (path.isEmpty() || !QDir().mkpath(folder) || QFileInfo(folder).canonicalFilePath() != folder
        || QFileInfo(path).isSymLink())
        return;
    if (line.startsWith("d "))
        QDir().mkpath(path);
    else if (line.startsWith("f ") && !QFileInfo::exists(path))
        writeFile(path, rest.toUtf8());
    else if (line.startsWith("l "))
        QFile::link(targetOf(rest, folder), path);
    else if (line.startsWith("p "))
        ::mkfifo(QFile::encodeName(path).constData(), 0600);
}

void makeTree(const QByteArray &description)
{
    clearFolder();
    ZEL_MUST(writeFile(pathOf(u"outside.d/analysis.tdf"_s), "x"));
    ZEL_MUST(QDir().mkpath(pathOf(u"tree"_s)));
    const QList<QByteArray> lines = description.split('\n');
    for (const QByteArray &line : lines.mid(0, mostEntries))
        makeEntry(line);
}

/// All that there is, with sizes and times.
QStringList survey()
{
    QStringList entries;
    QDirIterator all(pathOf({}),
                     QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QFileInfo entry(all.next());
        entries << entry.filePath() + u' ' + entry.symLinkTarget() + QString::number(entry.size())
                + entry.lastModified().toString(Qt::ISODateWithMs);
    }
    entries.sort();
    return entries;
}

QStringList knownNames()
{
    QStringList names;
    const auto formats = DataFormats::all();
    for (const DataFormats::Format &format : formats)
        names << format.name;
    return names;
}

void checkNames(const QStringList &names)
{
    static const QStringList *const known = new QStringList(knownNames());
    for (const QString &name : names)
        ZEL_MUST(known->contains(name));
}

void checkEntry(const QString &path)
{
    checkNames(DataFormats::byName(path));
    const QStringList found = DataFormats::detect(path);
    checkNames(found);
    ZEL_MUST(DataFormats::detect(path + u'/') == found);
    for (const QString &name : found)
        noteOutcome(name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    makeTree(bytesOf(data, size));
    const QStringList before = survey();
    QStringList paths { pathOf(u"tree"_s), pathOf(u"tree/missing"_s) };
    QDirIterator all(pathOf(u"tree"_s),
                     QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext())
        paths << all.next();
    std::sort(paths.begin(), paths.end());
    for (const QString &path : std::as_const(paths))
        checkEntry(path);
    ZEL_MUST(survey() == before);
    return 0;
}
