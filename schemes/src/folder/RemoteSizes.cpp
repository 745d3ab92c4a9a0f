#include "folder/RemoteSizes.h"

#include "errors/Propagate.h"
#include "folder/FolderWorkers.h"
#include "http/HttpClient.h"
#include "http/HttpFailure.h"

#include <QCoreApplication>

#include <algorithm>
#include <limits>
#include <vector>

namespace zel::RemoteSizes {

using namespace Qt::Literals::StringLiterals;

namespace {

using Sizes = std::map<QString, qint64>;

class Failure
{
    Q_DECLARE_TR_FUNCTIONS(zel::RemoteSizes)

public:
    static Error impossible(const QString &folderName)
    {
        return HttpFailure::make(int(ErrorCode::BadData), folderName,
                                 tr("the server tells of impossible sizes of files"));
    }
};

/// Whether the sum is a number of 63 bits.
bool areSummable(const Sizes &sizes)
{
    qint64 left = std::numeric_limits<qint64>::max();
    return std::all_of(sizes.begin(), sizes.end(), [&left](const auto &entry) {
        const bool fits = entry.second <= left;
        left -= fits ? entry.second : 0;
        return fits;
    });
}

Result<std::optional<qint64>> askedSize(const RemoteFile &file, const QString &folderName,
                                        const HttpSettings &settings, HttpSession &session,
                                        const std::function<bool()> &isCanceled)
{
    const HttpTarget target { file.url, folderName + u'/' + file.path, {} };
    HttpWatch watch;
    watch.isCanceled = isCanceled;
    ZEL_TRY_LET(const HttpProbe probe, HttpClient(settings).probe(target, watch, session));
    if (!probe.exists)
        return ZEL_PASS(Result<std::optional<qint64>>(probe.refusal));
    return probe.state.size;
}

} // namespace

Result<Sizes> of(const RemoteListing &listing, const QString &folderName,
                 const HttpSettings &settings, const std::function<bool()> &isCanceled)
{
    Sizes sizes;
    std::vector<const RemoteFile *> unknown;
    for (const auto &[path, file] : listing.files()) {
        if (file.size)
            sizes.emplace(path, *file.size);
        else
            unknown.push_back(&file);
    }

    Error error;
    std::vector<std::optional<qint64>> asked(unknown.size());
    const auto ask = [&](size_t index, HttpSession &session, const auto &shallStop) -> Error {
        ZEL_TRY_LET(asked[index],
                    askedSize(*unknown[index], folderName, settings, session, shallStop));
        return {};
    };
    ZEL_TRY(error, FolderWorkers::run(unknown.size(), settings, isCanceled, ask, [] {}));
    for (size_t i = 0; i < unknown.size(); ++i) {
        if (asked[i])
            sizes.emplace(unknown[i]->path, *asked[i]);
    }
    return areSummable(sizes) ? Result<Sizes>(sizes)
                              : ZEL_PASS(Result<Sizes>(Failure::impossible(folderName)));
}

} // namespace zel::RemoteSizes
