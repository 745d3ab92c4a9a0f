// Fetches one resource into the shared cache, unless it is there, and prints its local path.
#include "ResourceHandler.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    zel::registerResourceSchemes();

    QTextStream err(stderr);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        err << "usage: smallest_host REFERENCE\n";
        return 2;
    }

    // While the handler lives, no program of the machine purges the data.
    const auto handler = zel::ResourceManager::getHandler(arguments.at(1));
    if (!handler.hasValue()) {
        err << handler.error().errorMessage() << '\n';
        return 2;
    }
    const zel::Error error = zel::ResourceManager::retrieve(handler.value());
    if (error.hasError()) {
        err << error.errorMessage() << '\n';
        return 1;
    }
    QTextStream(stdout) << handler.value()->expectedPath().value().toString() << '\n';
    return 0;
}
