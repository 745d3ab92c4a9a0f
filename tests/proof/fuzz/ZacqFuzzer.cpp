// Any bytes as a ZACQ container: as its manifest, as the file form, and as the manifest of a folder
// form beside which others lie. Whatever it says, nobody else's files are named or touched.
#include "Fuzzing.h"

#include "files/PathUtils.h"
#include "zacq/Zacq.h"
#include "zacq/ZacqManifest.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

using namespace zel;
using namespace zel::fuzz;
using namespace zel::zacq;
using namespace Qt::Literals::StringLiterals;

const QByteArray sample = "abc";

bool areEqual(const ZacqManifest &left, const ZacqManifest &right)
{
    return left.metadata.contentHash == right.metadata.contentHash
        && left.metadata.sampleName == right.metadata.sampleName
        && left.samplePath == right.samplePath && left.sampleSize == right.sampleSize
        && left.pointer.has_value() == right.pointer.has_value()
        && left.owner.has_value() == right.owner.has_value();
}

void checkManifest(const QByteArray &json)
{
    const auto manifest = ZacqManifest::fromJson(json);
    if (!manifest.hasValue())
        return checkFailure(manifest.error(), { 4, 5 });
    ZEL_MUST(manifest.value().sampleSize >= 0);
    ZEL_MUST(manifest.value().samplePath.isEmpty() || isSamplePath(manifest.value().samplePath));
    const auto again = ZacqManifest::fromJson(manifest.value().toJson());
    ZEL_MUST(again.hasValue() && areEqual(again.value(), manifest.value()));
}

/// A tree around the container, with what belongs to others. The same each time.
void makeNeighbours()
{
    clearFolder();
    ZEL_MUST(writeFile(pathOf(u"keep/theirs.raw"_s), sample));
    ZEL_MUST(writeFile(pathOf(u"data/zacq/theirs.zacq/s/s.raw"_s), sample));
    ZEL_MUST(
        writeFile(pathOf(u"data/zacq/theirs.zacq/zacq.json"_s),
                  R"({"format":"zacq","version":1,"sample":{"path":"d/s.raw","name":"S","size":3,)"
                  R"("hash":"md5:900150983cd24fb0d6963f7d28e17f72"},)"
                  R"("owner":{"path":"file/other.zacq","id":"id"}})"));
    ZEL_MUST(writeFile(pathOf(u"data/zacq/own.zacq/s/s.raw"_s), sample));
    ZEL_MUST(
        writeFile(pathOf(u"data/zacq/own.zacq/zacq.json"_s),
                  R"({"format":"zacq","version":1,"sample":{"path":"d/s.raw","name":"S","size":3,)"
                  R"("hash":"md5:900150983cd24fb0d6963f7d28e17f72"},)"
                  R"("owner":{"path":"file/run.zacq","id":"id"}})"));
}

void checkNeighbours()
{
    ZEL_MUST(readFile(pathOf(u"keep/theirs.raw"_s)) == sample);
    ZEL_MUST(readFile(pathOf(u"data/zacq/theirs.zacq/s/s.raw"_s)) == sample);
    ZEL_MUST(QFileInfo::exists(pathOf(u"data/zacq/theirs.zacq/zacq.json"_s)));
}

/// The container's own sample, or that of the target that names the container as its owner.
void checkSamplePath(const QString &container, const QString &path)
{
    const QString place = QFileInfo(path).canonicalFilePath();
    ZEL_MUST(place.startsWith(container + u'/')
             || place == pathOf(u"data/zacq/own.zacq/s/s.raw"_s));
}

void readContainer(const QString &path)
{
    Zacq container(path);
    const Error error = container.open(Zacq::Mode::ReadOnly);
    checkOutcome(error, { 1, 4, 5 });
    if (error.hasError())
        return;
    const auto found = container.sampleFilePath();
    if (found.hasValue())
        checkSamplePath(path, found.value());
    else
        checkFailure(found.error(), { 4, 21 });

    const QString extracted = pathOf(u"extracted"_s);
    const Error extraction = container.extractSample(extracted);
    checkOutcome(extraction, { 1, 4 });
    ZEL_MUST(container.verifyContent().hasError() == extraction.hasError());
    ZEL_MUST(QFileInfo::exists(extracted) != extraction.hasError());
    if (!extraction.hasError()) {
        const FileHash hash = container.metadata().contentHash;
        ZEL_MUST(QCryptographicHash::hash(readFile(extracted), hash.algorithm) == hash.digest);
    }
}

void changeContainer(const QString &path)
{
    Zacq container(path);
    const QString target = pathOf(u"data/zacq/fresh.zacq"_s);
    checkOutcome(container.makeSparseZacqBlocking(path, target), { 1, 2, 4, 5, 21 });
    checkNeighbours();
    noteOutcome(QString::number(int(Zacq::isSparseZacq(path, true))));
    checkOutcome(Zacq::remove(path), { 1, 2, 4 });
    checkNeighbours();
}

void checkContainer(const QString &path)
{
    ZEL_MUST(!isZacqFile(path, true) || isZacqFile(path, false));
    readContainer(path);
    checkNeighbours();
    changeContainer(path);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    checkManifest(bytes);

    makeNeighbours();
    const QString path = pathOf(u"data/file/run.zacq"_s);
    ZEL_MUST(writeFile(path, bytes));
    checkContainer(path);

    makeNeighbours();
    ZEL_MUST(writeFile(path + u"/zacq.json"_s, bytes));
    ZEL_MUST(writeFile(path + u"/d/s.raw"_s, sample));
    ZEL_MUST(QFile::link(pathOf(u"keep"_s), path + u"/l"_s));
    checkContainer(path);
    return 0;
}
