#include "file/FileScheme.h"

#include "SchemeDefinition.h"
#include "file/FileResourceHandler.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error registerFileScheme()
{
    ResourceReference::SchemeDescription file;
    file.scheme = ResourceReference::File;
    file.prefixes = { u"file"_s };
    file.friendlyName = u"file"_s;
    file.version = QVersionNumber(1, 0);
    file.parser = [](const QString &text) {
        return PathReference::parse(ResourceReference::File, text);
    };

    const auto make = [](const QSharedPointer<PathReference> &path, ResourceCache *) {
        return new FileResourceHandler(path);
    };
    return ZEL_PASS(SchemeDefinition::add(file, SchemeDefinition::handlers<PathReference>(make)));
}

} // namespace zel
