#include "Contestant.h"
#include "Disk.h"
#include "OpenCache.h"
#include "RemoteResourceHandler.h"
#include "ResourceManager.h"

#include <QFile>

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace zel;
using namespace zel::bench;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What is copied: made beside the directories of all sides.
QString sourceOf(const QString &directory)
{
    return directory + u"/../source"_s;
}

/// Copies the source into the cache as the data of a new resource in each round.
template<ResourceCleanupPolicy policy>
class AddToCache : public Contestant
{
public:
    explicit AddToCache(const QString &directory)
        : directory(directory)
    {
        openManager(directory);
    }

    void prepare() override
    {
        const QString reference = u"https://bench.example.org/%1/run.raw"_s.arg(++number);
        handler
            = check(ResourceManager::getHandler(reference)).dynamicCast<RemoteResourceHandler>();
        check(handler->setCleanupPolicy(policy));
        settle(directory);
    }
    int run() override
    {
        check(handler->addToCache(PathImpl<PathType::Unknown>(sourceOf(directory))));
        return 1;
    }

private:
    const QString directory;
    int number = 0;
    QSharedPointer<RemoteResourceHandler> handler;
};

using AddInPlaceOfLast = AddToCache<ResourceCleanupPolicy::OnClose>;
// To remove thousands of files slows down for seconds how fast others can be made.
using AddBesideLast = AddToCache<ResourceCleanupPolicy::OnDemand>;

/// Fills an open new file with the open source and gives whether that succeeded.
using Copy = bool (*)(int source, int target);

bool copyInKernel(int source, int target)
{
    constexpr size_t atOnce = size_t(1) << 30;
    ssize_t copied = 0;
    do {
        copied = ::copy_file_range(source, nullptr, target, nullptr, atOnce, 0);
    } while (copied > 0);
    return copied == 0;
}

bool shareBlocks(int source, int target)
{
    return ::ioctl(target, FICLONE, source) == 0;
}

/// The least that a durable copy of a file takes.
template<Copy copy>
class BareCopy : public Contestant
{
public:
    explicit BareCopy(const QString &directory)
        : directory(directory)
    {
    }

    void prepare() override
    {
        QFile::remove(target());
        settle(directory);
    }
    int run() override
    {
        const OpenFile from(sourceOf(directory));
        const OpenFile to(target(), O_WRONLY | O_CREAT | O_EXCL);
        if (!copy(from.descriptor, to.descriptor) || ::fdatasync(to.descriptor) != 0)
            giveUp("cannot copy the source");
        return 1;
    }

private:
    QString target() const { return directory + u"/copy"_s; }

    const QString directory;
};

template<typename T>
std::unique_ptr<Contestant> make(const QString &directory)
{
    return std::make_unique<T>(directory);
}

const bool known = enter("addfile/ours", make<AddInPlaceOfLast>)
    && enter("addfile/floor", make<BareCopy<copyInKernel>>)
    && enter("reflink/ours", make<AddInPlaceOfLast>)
    && enter("reflink/floor", make<BareCopy<shareBlocks>>)
    && enter("addfolder/ours", make<AddBesideLast>);

} // namespace
