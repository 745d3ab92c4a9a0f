#include "ArchiveScheme.h"

#include "ArchiveHandler.h"
#include "ArchiveMetadata.h"
#include "ArchiveReference.h"
#include "ArchiveReports.h"
#include "ResourceHandlerFactory.h"
#include "ResourceManager.h"
#include "ResourceMetadataFactory.h"
#include "errors/Propagate.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace archive {

namespace {

Error registerReferences()
{
    ResourceReference::SchemeDescription description;
    description.scheme = archiveScheme;
    description.prefixes = { u"archive"_s };
    description.friendlyName = u"archive"_s; // the folder of all archived runs in the cache
    description.version = QVersionNumber(1, 0); // 2.0 would make all copies of today outdated
    description.parser = &ArchiveReference::parse;
    return ZEL_PASS(ResourceReference::registerScheme(description));
}

Result<QSharedPointer<ResourceHandler>> makeHandler(
    const QSharedPointer<ResourceReference> &reference, ResourceCache *cache)
{
    // References of this scheme come from its parser alone.
    const auto run = reference.staticCast<ArchiveReference>();
    return QSharedPointer<ResourceHandler>(new ArchiveHandler(run, cache));
}

} // namespace

Error registerArchiveScheme()
{
    Error error;
    ZEL_TRY(error, registerReferences());
    ResourceHandlerFactory::registerResourceHandlerScheme(archiveScheme, &makeHandler);
    ResourceMetadataFactory::registerMetadataScheme(archiveScheme, &ArchiveMetadata::fromJson);

    const ExtendableEnum<FileTypes::FileTypeData> runs("ARCHIVED_RUN"_L1, { { u"mzML"_s } });
    ResourceManager::addAssociatedResourcesProvider(
        runs, [] { return std::make_unique<ArchiveReports>(); });
    return error;
}

} // namespace archive
