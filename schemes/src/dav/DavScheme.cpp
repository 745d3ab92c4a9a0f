#include "dav/DavScheme.h"

#include "SchemeDefinition.h"
#include "dav/DavTasks.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error registerDavScheme(const HttpSettings &settings)
{
    ResourceReference::SchemeDescription dav;
    dav.scheme = ResourceReference::WebDav;
    dav.prefixes = { u"dav"_s, u"davs"_s };
    dav.friendlyName = u"webdav"_s;
    dav.version = QVersionNumber(1, 0);
    dav.parser = &DavReference::parse;

    // What is asked next would go there in the clear, and a password with it.
    HttpSettings safe = settings;
    safe.staysEncrypted = true;
    const auto describe = [settings = safe](const QSharedPointer<DavReference> &source) {
        CopiedResource resource;
        resource.name = source->fileName();
        resource.exists = [=] {
            return DavTasks::exists(source, settings);
        };
        resource.metadata = [=] {
            return DavTasks::metadata(source, settings);
        };
        resource.retrieve = [=](const FetchPlan &plan) {
            return DavTasks::retrieve(source, plan, settings);
        };
        resource.siblings = [=] {
            return DavTasks::siblings(source, settings);
        };
        return resource;
    };
    return ZEL_PASS(SchemeDefinition::add(dav, SchemeDefinition::copies<DavReference>(describe)));
}

} // namespace zel
