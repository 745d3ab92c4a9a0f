#include "ListSelection.h"

#include "DataFormats.h"
#include "errors/Propagate.h"

#include <QCoreApplication>
#include <QMetaEnum>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ListSelection)
};

using Resource = ResourceCacheReader::Resource;

QStringList statusNames()
{
    const auto statuses = QMetaEnum::fromType<ResourceStatus>();
    QStringList names;
    for (int index = 0; index < statuses.keyCount(); ++index)
        names.append(QString::fromLatin1(statuses.key(index)));
    return names;
}

QStringList formatNames()
{
    QStringList names;
    for (const DataFormats::Format &format : DataFormats::all())
        names.append(format.name);
    return names;
}

/// The one of the words that is meant; `refusal` is the message if there is none.
Result<QString> chosen(const QString &refusal, const QString &text, const QStringList &words)
{
    const auto found = std::find_if(words.begin(), words.end(), [&text](const QString &word) {
        return word.compare(text, Qt::CaseInsensitive) == 0;
    });
    if (found != words.end())
        return *found;
    return ZEL_ERROR(ErrorCode::BadArgument, refusal.arg(text, words.join(u", "_s)));
}

Result<ListSelection::Order> orderFrom(const QString &text)
{
    const QStringList words { u"size"_s, u"age"_s, u"name"_s };
    ZEL_TRY_LET(const QString word,
                chosen(Texts::tr("There is no order \"%1\", only %2."), text, words));
    return ListSelection::Order(words.indexOf(word) + 1);
}

bool comesFirst(ListSelection::Order order, const Resource &left, const Resource &right)
{
    switch (order) {
    case ListSelection::Order::Size:
        return left.size > right.size;
    case ListSelection::Order::Age:
        return left.lastAccess < right.lastAccess;
    case ListSelection::Order::Name:
        return left.reference < right.reference;
    case ListSelection::Order::AsAdded:
        break;
    }
    return false;
}

} // namespace

Result<ListSelection> ListSelection::fromTexts(const QString &order, const QString &status,
                                               const QString &format)
{
    ListSelection selection;
    if (!order.isEmpty()) {
        ZEL_TRY_LET(const Order word, orderFrom(order));
        selection.order = word;
    }
    if (!status.isEmpty()) {
        ZEL_TRY_LET(
            const QString name,
            chosen(Texts::tr("There is no status \"%1\", only %2."), status, statusNames()));
        selection.status = toResourceStatus(name, ResourceStatus::Invalid);
    }
    if (!format.isEmpty()) {
        ZEL_TRY_LET(
            const QString name,
            chosen(Texts::tr("There is no format \"%1\", only %2."), format, formatNames()));
        selection.format = name;
    }
    return selection;
}

QList<Resource> ListSelection::applied(QList<Resource> resources) const
{
    // In place, as copies of many rows take longer than anything that is done with them here.
    if (!prefix.isEmpty())
        resources.removeIf(
            [this](const Resource &resource) { return !resource.reference.startsWith(prefix); });
    if (status || !format.isEmpty()) {
        resources.removeIf([this](const Resource &resource) {
            return (status && resource.status != *status)
                || (!format.isEmpty() && !DataFormats::byName(resource.path).contains(format));
        });
    }
    if (order != Order::AsAdded) {
        std::stable_sort(resources.begin(), resources.end(),
                         [this](const Resource &left, const Resource &right) {
                             return comesFirst(order, left, right);
                         });
    }
    return resources;
}

} // namespace zel::cli
