#include "Contestant.h"
#include "Disk.h"
#include "FilledCache.h"
#include "OpenCache.h"
#include "Replay.h"
#include "ResourceManager.h"

#include <QDir>
#include <QFile>

#include <optional>

#include <unistd.h>

using namespace zel;
using namespace zel::bench;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int count = 1000;
constexpr int fileSize = 4096;

/// New files in a folder of their own for each round; gives the folder.
QString makeSources(const QString &directory, int round)
{
    const QString folder = u"%1/source-%2"_s.arg(directory, QString::number(round));
    QDir().mkpath(folder);
    for (int i = 0; i < count; ++i) {
        QFile file(u"%1/%2.raw"_s.arg(folder, QString::number(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(fileSize, 'x')) != fileSize)
            giveUp("nothing can be written");
    }
    settle(directory);
    return folder;
}

/// Retrieves the files of a folder by the manager, which brings as many at once as it does.
class RetrieveMany : public Contestant
{
public:
    explicit RetrieveMany(const QString &directory)
        : directory(directory)
    {
        QDir().mkpath(directory);
        openManager(directory);
        ResourceManager::setRetrieveMode(ResourceHandler::RetrieveMode::NoPrompt);
    }

    void prepare() override
    {
        const QString folder = makeSources(directory, round++);
        references.clear();
        for (int i = 0; i < count; ++i)
            references.append(u"share:%1/%2.raw"_s.arg(folder, QString::number(i)));
    }
    int run() override
    {
        check(ResourceManager::retrieve(check(ResourceManager::getHandlers(references))));
        return count;
    }

private:
    const QString directory;
    QList<QString> references;
    int round = 0;
};

Script recordRetrieval(const QString &directory)
{
    RetrieveMany ours(directory);
    ours.prepare();
    return record([&] { ours.run(); });
}

/// A copy that is there as a whole or not at all, and stays there.
void copyDurably(const QString &source, const QString &folder)
{
    const QString staged = folder + u"/staged"_s;
    QDir().mkpath(folder);
    {
        const OpenFile from(source);
        const OpenFile to(staged, O_WRONLY | O_CREAT | O_TRUNC);
        if (::copy_file_range(from.descriptor, nullptr, to.descriptor, nullptr, fileSize, 0)
                != fileSize
            || ::fdatasync(to.descriptor) != 0)
            giveUp("nothing can be copied");
    }
    QFile::rename(staged, folder + u"/data.raw"_s);
}

/// The same statements and takes of the semaphore on a new database, then the copies alone.
class BareMany : public Contestant
{
public:
    explicit BareMany(const QString &directory)
        : directory(directory)
        , script(recordRetrieval(directory + u"/recorded"_s))
    {
        fillCache(directory + u"/empty"_s, 0);
    }

    void prepare() override
    {
        place = u"%1/played-%2"_s.arg(directory, QString::number(round));
        source = makeSources(directory, round++);
        QDir().mkpath(place);
        QFile::copy(databaseOf(directory + u"/empty"_s), databaseOf(place));
        replay.emplace(databaseOf(place), Replay::Settings::AsOurs);
    }
    int run() override
    {
        replay->play(script);
        for (int i = 0; i < count; ++i) {
            const QString name = QString::number(i);
            copyDurably(u"%1/%2.raw"_s.arg(source, name), u"%1/%2"_s.arg(place, name));
        }
        return count;
    }

private:
    const QString directory;
    const Script script;
    QString place;
    QString source;
    std::optional<Replay> replay;
    int round = 0;
};

template<typename Side>
std::unique_ptr<Contestant> make(const QString &directory)
{
    return std::make_unique<Side>(directory);
}

const bool known = enter("many/ours", make<RetrieveMany>) && enter("many/floor", make<BareMany>);

} // namespace
