#include "Protocol.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdlib>
#include <iostream>

namespace zel::bench {

namespace {

std::string asJson(const Figures &figures)
{
    QJsonObject object;
    for (const auto &[name, value] : figures)
        object.insert(QString::fromStdString(name), value);
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

Figures obey(const std::string &command, const Turns &turns)
{
    if (command == "round")
        return turns.round();
    if (command != "prepare")
        giveUp("unknown command: " + command);
    turns.prepare();
    return {};
}

} // namespace

int serve(const Turns &turns)
{
    for (std::string command; std::getline(std::cin, command);)
        std::cout << asJson(obey(command, turns)) << std::endl; // flushed: the driver waits
    return EXIT_SUCCESS;
}

void giveUp(const std::string &why)
{
    std::cerr << why << '\n';
    std::_Exit(EXIT_FAILURE);
}

} // namespace zel::bench
