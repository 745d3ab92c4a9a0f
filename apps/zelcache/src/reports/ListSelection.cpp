#include "reports/ListSelection.h"

#include "DataFormats.h"
#include "errors/Propagate.h"

#include <QCoreApplication>
#include <QMetaEnum>

#include <algorithm>
#include <vector>

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

/// The smallest first; of no use to an order that is not one of numbers.
qint64 sortKey(ListSelection::Order order, const Resource &resource)
{
    switch (order) {
    case ListSelection::Order::Size:
        return ~resource.size; // the other way round, whatever the number
    case ListSelection::Order::Age:
        return resource.lastAccess;
    case ListSelection::Order::Name:
    case ListSelection::Order::AsAdded:
        break;
    }
    return 0;
}

/// Sorts places, with what they are sorted by beside them: to move the rows themselves about takes
/// several times as long.
QList<Resource> sorted(ListSelection::Order order, QList<Resource> resources)
{
    struct Place
    {
        qint64 key = 0;
        qsizetype index = 0;
    };
    std::vector<Place> places;
    places.reserve(std::size_t(resources.size()));
    for (qsizetype i = 0; i < resources.size(); ++i)
        places.push_back({ sortKey(order, resources.at(i)), i });
    const bool isByName = order == ListSelection::Order::Name;
    std::stable_sort(places.begin(), places.end(), [&](const Place &left, const Place &right) {
        return isByName ? resources.at(left.index).reference < resources.at(right.index).reference
                        : left.key < right.key;
    });
    QList<Resource> inOrder;
    inOrder.reserve(resources.size());
    for (const Place &place : places)
        inOrder.append(std::move(resources[place.index]));
    return inOrder;
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
    if (order == Order::AsAdded)
        return resources;
    return sorted(order, std::move(resources));
}

} // namespace zel::cli
