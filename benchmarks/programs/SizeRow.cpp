#include "Contestant.h"
#include "OpenCache.h"
#include "ResourceManager.h"
#include "StoredFiles.h"
#include "files/FileUtilsGeneric.h"

using namespace zel;
using namespace zel::bench;
using namespace Qt::Literals::StringLiterals;

namespace {

class SizeOfFolder : public Contestant
{
public:
    explicit SizeOfFolder(const QString &directory)
        : folder(directory + u"/../source"_s)
    {
    }

    int run() override
    {
        if (FileUtilsGeneric::contentSize(folder) <= 0)
            giveUp("the folder is empty");
        return 1;
    }

private:
    const QString folder;
};

/// Counts the sizes of resources that have not changed since the last count.
class Scan : public Contestant
{
public:
    explicit Scan(const QString &directory)
        : cache(openManager(directory))
        , files(cache, ResourceManager::cachePath(), resources)
    {
    }

    void prepare() override { files.fill(); }
    int run() override
    {
        check(cache->updateFileSizes());
        return 1;
    }

private:
    static constexpr int resources = 10'000;

    ResourceCache *const cache;
    StoredFiles files;
};

template<typename T>
std::unique_ptr<Contestant> make(const QString &directory)
{
    return std::make_unique<T>(directory);
}

const bool known = enter("size/ours", make<SizeOfFolder>) && enter("scan/ours", make<Scan>);

} // namespace
