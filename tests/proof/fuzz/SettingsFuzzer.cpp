// Any bytes as the settings file: reading them ends with usable values, and what is written
// afterwards is read back as it was.
#include "Fuzzing.h"

#include "../../unit/resource_manager/support/SettingsAt.h"

#include <QFile>

namespace {

using namespace zel;
using namespace zel::fuzz;
using zel::test::SettingsAt;
using namespace Qt::Literals::StringLiterals;

void checkEqual(const ResourceManagerSettings &left, const ResourceManagerSettings &right)
{
    ZEL_MUST(left.cachePath.baseDirPath().toString() == right.cachePath.baseDirPath().toString());
    ZEL_MUST(left.sizes.optimalSize == right.sizes.optimalSize);
    ZEL_MUST(left.sizes.maximumSize == right.sizes.maximumSize);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // Qt remembers what it read from a file of this name.
    static int count = 0;
    const QString path = pathOf(u"%1.ini"_s.arg(++count));
    ZEL_MUST(writeFile(path, bytesOf(data, size)));

    SettingsAt settings(path);
    settings.load();
    ZEL_MUST(!settings.cachePath.baseDirPath().toString().isEmpty());
    const Error error = settings.save();
    checkOutcome(error, { 1 });
    if (!error.hasError()) {
        SettingsAt again(path);
        again.load();
        checkEqual(again, settings);
    }
    noteOutcome(QString::number(settings.sizes.maximumSize));
    QFile::remove(path);
    return 0;
}
