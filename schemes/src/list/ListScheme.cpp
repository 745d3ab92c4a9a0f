#include "list/ListScheme.h"

#include "SchemeDefinition.h"
#include "list/ListTasks.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error registerListScheme(const HttpSettings &settings)
{
    ResourceReference::SchemeDescription lists;
    lists.scheme = ResourceReference::Manifest;
    lists.prefixes = { u"list+http"_s, u"list+https"_s };
    lists.friendlyName = u"manifest"_s;
    lists.version = QVersionNumber(1, 0);
    lists.parser = &ListReference::parse;

    const auto describe = [settings](const QSharedPointer<ListReference> &list) {
        CopiedResource folder;
        folder.name = list->folderName();
        folder.exists = [=] {
            return ListTasks::exists(list, settings);
        };
        folder.metadata = [=] {
            return ListTasks::metadata(list, settings);
        };
        folder.retrieve = [=](const FetchPlan &plan) {
            return ListTasks::retrieve(list, plan, settings);
        };
        return folder;
    };
    return ZEL_PASS(
        SchemeDefinition::add(lists, SchemeDefinition::copies<ListReference>(describe)));
}

} // namespace zel
