#pragma once

#include "AssociatedResourcesProviderInterface.h"
#include "files/FileTypes.h"

namespace zel {

/// Names what a fetch from a share brings along beside a file: x.wiff.scan with x.wiff, however the
/// ending is written. With x.wiff2, which needs x.wiff.scan too, comes nothing: what is brought
/// along has the name of the file and an ending.
QT_WARNING_PUSH
QT_WARNING_DISABLE_GCC("-Wnon-virtual-dtor") // it has no members, see the interface
QT_WARNING_DISABLE_CLANG("-Wnon-virtual-dtor")
class ShareCompanions final : public AssociatedResourcesProviderInterface
{
public:
    /// The kind of files that have a companion. Of its own, so that nobody else's provider is
    /// replaced.
    static ExtendableEnumRef<FileTypes::FileTypeData> fileType();

    QList<QString> getAssociatedResources(const QString &path) const override;
};
QT_WARNING_POP

} // namespace zel
