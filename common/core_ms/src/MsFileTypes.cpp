#include "MsFileTypes.h"

#include "MsFileInfo.h"

#include <QSet>

namespace zel::msreader::MsFileTypes {

using namespace Qt::Literals::StringLiterals;

namespace {

// Sorted, as the order of a set differs from run to run.
FileTypes::FileTypeData sorted(const QSet<QString> &extensions)
{
    QStringList list = extensions.values();
    list.sort();
    return { list };
}

} // namespace

// In one source, so that the order in which they are registered is the order here.
const FileType zyspec2("ZYSPEC2"_L1,
                       sorted({ MsFileInfo::fileNameExtension(VendorDataFormat::Zyspec2) }));
const FileType ms("MS"_L1, sorted(fileFormatExtensions() | folderFormatExtensions()));
const FileType msDir("MS_DIR"_L1, sorted(folderFormatExtensions()));
const FileType msFile("MS_FILE"_L1, sorted(fileFormatExtensions()));

} // namespace zel::msreader::MsFileTypes
