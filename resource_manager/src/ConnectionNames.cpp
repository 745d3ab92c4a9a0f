#include "ConnectionNames.h"

#include <QSqlDatabase>
#include <QUuid>

namespace zel {

using namespace Qt::Literals::StringLiterals;

ConnectionNames &ConnectionNames::ofThisProcess()
{
    static auto *names = new ConnectionNames(
        [] { return u"ResourceCache_%1"_s.arg(QUuid::createUuid().toString().left(5)); });
    return *names;
}

ConnectionNames::ConnectionNames(Draw draw)
    : draw(std::move(draw))
{
}

QString ConnectionNames::take()
{
    const std::lock_guard lock(mutex);
    QString name = draw();
    // The host may have connections of its own, whatever their names.
    while (taken.contains(name) || QSqlDatabase::contains(name))
        name = draw();
    taken.insert(name);
    return name;
}

void ConnectionNames::giveBack(const QString &name)
{
    const std::lock_guard lock(mutex);
    taken.remove(name);
}

} // namespace zel
