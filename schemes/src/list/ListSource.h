#pragma once

#include "folder/RemoteListing.h"
#include "http/HttpClient.h"
#include "http/HttpSession.h"
#include "list/ListReference.h"

#include <QCoreApplication>

#include <functional>

namespace zel {

/// Asks a server what a folder consists of. One thread at a time.
///
/// Files are asked for at addresses below that of the list, without its query.
class ListSource
{
    Q_DECLARE_TR_FUNCTIONS(zel::ListSource)

public:
    ListSource(const QSharedPointer<ListReference> &reference, const HttpSettings &settings);

    /// Reads the whole list, of a server's listing level by level, of which all pages together may
    /// be as long as a list. Failures: those of a download of the list, code 4 for one that cannot
    /// be used, 6 for one that is not the expected one, 20 if canceled.
    Result<RemoteListing> list(const std::function<bool()> &isCanceled);
    /// Asks for the list itself, without reading it.
    Result<HttpProbe> probe(const std::function<bool()> &isCanceled);

private:
    Result<HttpTarget> target() const;
    Result<RemoteListing> listChecksums(const std::function<bool()> &isCanceled);
    Result<RemoteListing> listFolders(const std::function<bool()> &isCanceled);
    Error addPage(const HttpUrl &top, const QString &folder, RemoteListing *listing,
                  QStringList *folders, const std::function<bool()> &isCanceled);
    Result<QByteArray> read(const HttpTarget &target, const std::function<bool()> &isCanceled);

    const QSharedPointer<ListReference> reference;
    const HttpSettings settings;
    HttpSession session;
    qint64 bytesOfPages = 0; ///< of the listing that is being read
};

} // namespace zel
