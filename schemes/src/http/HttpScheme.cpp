#include "http/HttpScheme.h"

#include "SchemeDefinition.h"
#include "http/HttpTasks.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error registerHttpScheme(const HttpSettings &settings)
{
    ResourceReference::SchemeDescription http;
    http.scheme = ResourceReference::Http;
    http.prefixes = { u"http"_s, u"https"_s };
    http.friendlyName = u"http"_s;
    http.version = QVersionNumber(1, 0);
    http.parser = [](const QString &text) {
        return UrlReference::parse(ResourceReference::Http, text);
    };

    const auto describe = [settings](const QSharedPointer<UrlReference> &url) {
        CopiedResource file;
        file.name = url->fileName();
        file.exists = [=] {
            return HttpTasks::exists(url, settings);
        };
        file.metadata = [=] {
            return HttpTasks::metadata(url, settings);
        };
        file.retrieve = [=](const FetchPlan &plan) {
            return HttpTasks::retrieve(url, plan, settings);
        };
        return file;
    };
    return ZEL_PASS(SchemeDefinition::add(http, SchemeDefinition::copies<UrlReference>(describe)));
}

} // namespace zel
