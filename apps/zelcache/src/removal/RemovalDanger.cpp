#include "removal/RemovalDanger.h"

#include "removal/RemovalReport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStringBuilder>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::RemovalDanger)
};

using Resource = ResourceCacheReader::Resource;
using Position = DataPlaces::Position;

/// So many are named.
constexpr qsizetype shownDangers = 20;

bool isDangerous(Position position)
{
    return position != Position::InFolder && position != Position::OtherSpelling;
}

/// Empty for one whose removal takes its own data only. Of what is gone a removal takes nothing.
QString sentenceOf(const Resource &resource, const DataPlaces &places)
{
    if (resource.path.isEmpty())
        return {};
    const auto position = places.positionOf(resource.path);
    return isDangerous(position) && QFileInfo::exists(QDir::cleanPath(resource.path))
        ? positionText(position, resource.path)
        : QString();
}

} // namespace

QString dangerOf(const Resource &resource, const DataPlaces &places)
{
    const QString sentence = sentenceOf(resource, places);
    return sentence.isEmpty()
        ? sentence
        : sentence % u' ' % Texts::tr("\"zelcache doctor\" tells what helps.");
}

QString dangersText(const QString &nothingDone, const ResourceRows &resources,
                    const DataPlaces &places)
{
    QStringList lines { nothingDone % u' ' % Texts::tr("\"zelcache doctor\" tells what helps.") };
    qsizetype dangers = 0;
    for (const Resource &resource : resources) {
        const QString sentence = sentenceOf(resource, places);
        if (!sentence.isEmpty() && ++dangers <= shownDangers)
            lines.append(resource.reference % u": " % sentence);
    }
    if (dangers > shownDangers)
        lines.append(Texts::tr("... and %1 more").arg(countText(dangers - shownDangers)));
    return dangers > 0 ? lines.join(u'\n') : QString();
}

} // namespace zel::cli
