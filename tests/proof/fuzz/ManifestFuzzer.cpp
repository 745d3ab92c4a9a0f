// Any bytes as the manifest of a fetched resource and as the record of a transfer: what is taken
// stays in its folder and is written as it was read.
#include "Fuzzing.h"

#include "integrity/ContentManifest.h"
#include "integrity/ManifestText.h"
#include "staging/StagingRecord.h"

#include <QFile>

namespace {

using namespace zel;
using namespace zel::fuzz;
using namespace Qt::Literals::StringLiterals;

void checkPath(const QByteArray &path)
{
    ZEL_MUST(!path.isEmpty() && !path.startsWith('/') && !path.contains('\0'));
    for (const QByteArray &level : path.split('/'))
        ZEL_MUST(!level.isEmpty() && level != "." && level != "..");
}

void checkManifest(const QByteArray &json)
{
    const auto manifest = ContentManifest::fromJson(json);
    if (!manifest.hasValue())
        return checkFailure(manifest.error(), { 4 });
    for (const ContentManifest::File &file : manifest.value().files) {
        checkPath(file.path);
        ZEL_MUST(file.size >= 0 && file.checkedBlocks >= 0);
        ZEL_MUST(file.checkedBlocks <= file.sums.size() || file.sums.isEmpty());
    }
    ZEL_MUST(manifest.value().totalBytes() >= 0 && manifest.value().bytesPerSecond() >= 0);
    const QByteArray written = manifest.value().toJson();
    ZEL_MUST(ManifestText::takenApart(written).has_value());
    const auto again = ContentManifest::fromJson(written);
    ZEL_MUST(again.hasValue() && again.value() == manifest.value());
    noteOutcome(QString::number(manifest.value().files.size()));
}

void checkRecord(const QByteArray &json)
{
    const QString path = pathOf(u"record"_s);
    ZEL_MUST(writeFile(path, json));
    const auto record = StagingRecord::read(path);
    if (!record.hasValue())
        return checkFailure(record.error(), { 4 });
    ZEL_MUST(!record.value().write(path).hasError());
    const QByteArray written = readFile(path);
    const auto again = StagingRecord::read(path);
    ZEL_MUST(again.hasValue());
    ZEL_MUST(!again.value().write(path).hasError());
    ZEL_MUST(readFile(path) == written);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    checkManifest(bytes);
    checkRecord(bytes);
    return 0;
}
