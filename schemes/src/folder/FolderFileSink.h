#pragma once

#include "folder/FolderStaging.h"
#include "http/HttpSink.h"
#include "integrity/ContentSum.h"

#include <QCoreApplication>

#include <atomic>
#include <memory>

namespace zel {

/// The sink of a download of one file of a folder. One thread.
class FolderFileSink : public HttpSink
{
    Q_DECLARE_TR_FUNCTIONS(zel::FolderFileSink)

public:
    /// `done` counts the bytes of all files that are here, `counted` of which are of this one. All
    /// is borrowed.
    FolderFileSink(FolderStaging *staging, const RemoteFile &listed, std::atomic<qint64> *done,
                   qint64 counted);

    /// Code 6 if this is not the file that was listed.
    Result<qint64> open(const HttpRepresentation &state) override;
    Error startAnew() override;
    Error write(const QByteArray &bytes) override;
    Error readBack(const std::function<bool(const char *data, qint64 size)> &take) override;

    /// All bytes are here. Code 1 if there was no open state.
    Error finish();

private:
    Error checkListed(const HttpRepresentation &state) const;
    void count();

    FolderStaging *const staging;
    const RemoteFile &listed;
    std::atomic<qint64> *const done;
    qint64 counted;
    std::unique_ptr<StagedFile> file;
    BlockSums sums;
    HttpRepresentation openState;
};

} // namespace zel
