// Any text as a reference: what is taken has one spelling, tells no secret and names a place below
// the cache; what is not is refused with its reason.
#include "Fuzzing.h"

#include "SchemesRegistration.h"
#include "references/CacheFileName.h"
#include "references/ExpectedContent.h"
#include "references/ResourceReference.h"
#include "references/ResourceReferenceUtils.h"

#include <QDir>

namespace {

using namespace zel;
using namespace zel::fuzz;
using namespace Qt::Literals::StringLiterals;

constexpr QLatin1StringView secret("ZelSecret4711");

void checkText(const QString &text)
{
    ZEL_MUST(!text.isEmpty());
    ZEL_MUST(!ResourceReferenceUtils::hasControlCharacters(text));
}

void checkRoundTrip(const ResourceReference &reference)
{
    const QString key = reference.referenceText(false);
    checkText(key);
    const auto again = ResourceReference::fromString(key);
    ZEL_MUST(again.hasValue());
    ZEL_MUST(*again.value() == reference);
    ZEL_MUST(again.value()->referenceText(false) == key);
    ZEL_MUST(again.value()->referenceText(true) == reference.referenceText(true));
    ZEL_MUST(again.value()->referencePath() == reference.referencePath());
}

void checkPlaceInCache(const ResourceReference &reference)
{
    const QString key = reference.referenceText(false);
    const QString name = reference.referencePath().value_or(key);
    const QString place = CacheFileName::forResource(key, name.section(u'/', -1));
    const QStringList levels = place.split(u'/');
    ZEL_MUST(levels.size() == 2);
    for (const QString &level : levels) {
        ZEL_MUST(!level.isEmpty() && !level.startsWith(u'.'));
        ZEL_MUST(!ResourceReferenceUtils::hasControlCharacters(level));
        ZEL_MUST(level.toUtf8().size() <= 255);
    }
    ZEL_MUST(QDir::cleanPath(place) == place);
}

/// What signs a link must be found in no text that is stored or shown.
void checkSecret(const QString &text)
{
    if (text.contains(u'#') || text.contains(secret) || !text.contains(u"://"_s))
        return;
    const QChar joint = text.contains(u'?') ? u'&' : u'?';
    const auto signedOne
        = ResourceReference::fromString(text + joint + u"X-Amz-Signature="_s + secret);
    if (!signedOne.hasValue()) {
        ZEL_MUST(!signedOne.error().description().contains(secret));
        return;
    }
    const auto scheme = signedOne.value()->scheme();
    if (scheme != ResourceReference::Http && scheme != ResourceReference::Manifest)
        return;
    ZEL_MUST(!signedOne.value()->referenceText(false).contains(secret));
    ZEL_MUST(!signedOne.value()->referenceText(true).contains(secret));
}

void checkExpectedContent(const QString &text)
{
    const auto content = ExpectedContent::fromString(text);
    if (!content.hasValue())
        return checkFailure(content.error(), { 2 });
    const auto again = ExpectedContent::fromString(content.value().toString());
    ZEL_MUST(again.hasValue() && again.value() == content.value());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    [[maybe_unused]] static const bool isReady = (registerResourceSchemes(), true);
    const QString text = textOf(data, size);
    checkExpectedContent(text.section(u'#', 1));
    const auto parsed = ResourceReference::fromString(text);
    if (!parsed.hasValue()) {
        checkFailure(parsed.error(), { 2 });
        return 0;
    }
    const ResourceReference &reference = *parsed.value();
    ZEL_MUST(ResourceReference::scheme(text).value() == reference.scheme());
    checkText(reference.referenceText(true));
    checkRoundTrip(reference);
    checkPlaceInCache(reference);
    checkSecret(text);
    noteOutcome(QString::number(reference.scheme()));
    return 0;
}
