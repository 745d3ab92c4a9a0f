#include "cache/CacheDirectoryTag.h"

#include <QFile>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

// Programs know the tag by its first line.
constexpr auto content = R"(Signature: 8a477f597d28d172789f06886806bc55
# This folder holds copies of remote data for the programs of this machine. Backups may leave it out.
)";

} // namespace

void tagCacheDirectory(const QString &folder)
{
    QFile tag(folder + u"/CACHEDIR.TAG"_s);
    if (tag.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        static_cast<void>(tag.write(content));
}

} // namespace zel::cli
