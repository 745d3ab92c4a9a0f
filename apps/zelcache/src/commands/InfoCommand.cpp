#include "Command.h"
#include "CommandOptions.h"
#include "ReferenceHandlers.h"
#include "ResourceLookup.h"
#include "ResourceManager.h"
#include "SchemeMetadata.h"
#include "TaskWait.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "output/Format.h"
#include "output/LabeledLines.h"
#include "platform/SignalWatch.h"
#include "removal/EnteringDanger.h"
#include "reports/CacheReport.h"

#include <QCoreApplication>
#include <QMetaEnum>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::InfoCommand)
};

constexpr auto helpDetails = R"(Tells what a reference leads to and what the cache holds of it.

Examples:
  zelcache info https://data.example.org/runs/run1.raw
  zelcache info --json share:/mnt/lab/run1.d)";

using Metadata = Result<QSharedPointer<ResourceMetadata>>;

/// Both sides of one resource.
struct Description
{
    LocalPlace place;
    Metadata metadata = Error(ErrorCode::OperationFailed);
    ResourceCacheReader::Snapshot snapshot;
    std::optional<ResourceCacheReader::Resource> cached;
};

/// Asks the source; `signalNumber` is that of a signal that came meanwhile, else 0.
Metadata askSource(const QSharedPointer<ResourceHandler> &handler, int &signalNumber)
{
    TaskWait wait;
    const auto task = ResourceManager::retrieveMetadataAsync(handler, ResourceHandler::Queued);
    if (!task.hasValue())
        return task.error();
    wait.add(task.value().get());
    signalNumber = wait.run([] {});
    return task.value()->result<QSharedPointer<ResourceMetadata>>();
}

void lookIntoCache(const Options &options, Description &description)
{
    const QString key = description.place.reference();
    const auto snapshot = readCacheFor({ key }, settingsOf(options));
    if (!snapshot.hasValue())
        return;
    description.snapshot = snapshot.value();
    description.cached = resourceOf(description.snapshot, key);
}

QString itemTypeText(const ResourceMetadata &metadata)
{
    const auto types = QMetaEnum::fromType<ResourceMetadata::ItemType>();
    return QString::fromLatin1(types.valueToKey(int(metadata.metadataItemType())));
}

QJsonObject metadataJson(const ResourceMetadata &metadata)
{
    QJsonObject object {
        { u"name"_s, metadata.metadataName() },         { u"path"_s, metadata.metadataPath() },
        { u"fullPath"_s, metadata.metadataFullPath() }, { u"type"_s, metadata.metadataType() },
        { u"itemType"_s, itemTypeText(metadata) },      { u"details"_s, metadata.toJson() }
    };
    if (!metadata.metadataVersion().isNull())
        object.insert(u"version"_s, metadata.metadataVersion().toString());
    return object;
}

QJsonObject jsonOf(const Context &context, const Description &description)
{
    QJsonObject answer = context.emptyAnswer();
    const LocalPlace &place = description.place;
    answer.insert(u"reference"_s, place.reference());
    answer.insert(u"displayName"_s, place.handler->reference()->referenceText(true));
    answer.insert(u"path"_s, place.path);
    answer.insert(u"available"_s, place.isAvailable);
    if (description.metadata.hasValue())
        answer.insert(u"metadata"_s, metadataJson(*description.metadata.value()));
    else
        answer.insert(u"metadataError"_s, json::error(description.metadata.error()));
    if (description.cached)
        answer.insert(u"cached"_s, resourceJson(description.snapshot, *description.cached));
    return answer;
}

QList<Labeled> sourceLines(const QSharedPointer<ResourceMetadata> &metadata)
{
    QList<Labeled> lines { { Texts::tr("Name"), metadata->metadataName() },
                           { Texts::tr("Source"), metadata->metadataFullPath() },
                           { Texts::tr("Kind"), itemTypeText(*metadata) } };
    const auto known = metadata.dynamicCast<SchemeMetadata>();
    if (known && known->size())
        lines.append({ Texts::tr("Size"), sizeText(*known->size()) });
    if (known && known->modified().isValid())
        lines.append({ Texts::tr("Modified"), timeText(known->modified().toMSecsSinceEpoch()) });
    return lines;
}

QStringList linesOf(const Description &description)
{
    const LocalPlace &place = description.place;
    QList<Labeled> lines { { Texts::tr("Reference"),
                             place.handler->reference()->referenceText(true) } };
    if (description.metadata.hasValue())
        lines += sourceLines(description.metadata.value());
    lines.append({ Texts::tr("Local path"), place.path });
    lines.append({ Texts::tr("Is there"), place.isAvailable ? Texts::tr("yes") : Texts::tr("no") });
    if (description.cached) {
        lines.append({ Texts::tr("Status"), toText(description.cached->status) });
        lines.append({ Texts::tr("Local size"), sizeText(description.cached->size) });
        lines.append({ Texts::tr("Status since"), timeText(description.cached->lastAccess) });
    }
    return labeledLines(lines);
}

void tell(const Description &description, const Context &context)
{
    if (context.options.json) {
        context.output.answer(jsonOf(context, description));
        return;
    }
    for (const QString &line : linesOf(description))
        context.output.answer(line);
}

class InfoCommand : public Command
{
public:
    InfoCommand()
        : Command("info", "Describe a resource", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override { options::addReference(app, reference); }

    ExitCode run(const Context &context) override;

private:
    QString reference;
};

ExitCode InfoCommand::run(const Context &context)
{
    if (const auto code = openCacheToEnter(context, { reference }))
        return *code;
    SignalWatch signalWatch([](int) {});
    const auto place = localPlaceOf(reference);
    if (!place.hasValue())
        return context.failOn(reference, place.error());

    Description description;
    description.place = place.value();
    int signalNumber = 0;
    description.metadata = askSource(description.place.handler, signalNumber);
    if (signalNumber != 0)
        return context.cancel(signalNumber);
    // What lies here can be described without its source.
    if (!description.metadata.hasValue()) {
        if (!description.place.isAvailable)
            return context.fail(description.metadata.error());
        context.output.warning(description.metadata.error().errorMessage());
    }
    lookIntoCache(context.options, description);
    tell(description, context);
    return exitCodeAfter(signalWatch.receivedNow(), ExitCode::Success);
}

} // namespace

std::unique_ptr<Command> makeInfoCommand()
{
    return std::make_unique<InfoCommand>();
}

} // namespace zel::cli
