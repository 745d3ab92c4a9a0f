#include "errors/Logging.h"

#include <cstring>
#include <map>

namespace zel {

namespace {

constexpr char genericName[] = "zel.generic";

struct ByText
{
    bool operator()(const char *left, const char *right) const
    {
        return std::strcmp(left, right) < 0;
    }
};

using Registry = std::map<const char *, QLoggingCategory *, ByText>;

// Never destroyed, like all categories here: objects that log may die later than any static.
Registry &registry()
{
    static auto *categories = new Registry;
    return *categories;
}

} // namespace

const QLoggingCategory &lcResourceManager()
{
    static const auto *category = new QLoggingCategory("zel.resource_manager", QtDebugMsg);
    return *category;
}

QLoggingCategory *loggingCategory(const char *name, QtMsgType level, bool create)
{
    Registry &categories = registry();
    if (categories.empty())
        categories.emplace(genericName, new QLoggingCategory(genericName, level));

    if (const auto found = categories.find(name); found != categories.end())
        return found->second;
    if (!create)
        return categories.at(genericName);
    return categories.emplace(name, new QLoggingCategory(name, level)).first->second;
}

} // namespace zel
