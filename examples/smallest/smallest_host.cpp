// Fetches one resource into the shared cache, unless it is there, and prints its local path.
#include "ResourceHandler.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"

#include <QCoreApplication>
#include <QTextStream>

int failed(const zel::Error &error, int exitCode)
{
    QTextStream(stderr) << error.errorMessage() << '\n';
    return exitCode;
}

int main(int argc, char **argv)
{
    // First of all: waiting for a fetch needs an application.
    const QCoreApplication application(argc, argv);
    zel::registerResourceSchemes();

    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        QTextStream(stderr) << "usage: smallest_host REFERENCE\n";
        return 2;
    }

    // While the handler lives, no program of the machine purges the data.
    const auto handler = zel::ResourceManager::getHandler(arguments.at(1));
    if (!handler.hasValue())
        return failed(handler.error(), 2);
    const zel::Error error = zel::ResourceManager::retrieve(handler.value());
    if (error.hasError())
        return failed(error, 1);
    const auto path = handler.value()->expectedPath();
    if (!path.hasValue())
        return failed(path.error(), 1);
    QTextStream(stdout) << path.value().toString() << '\n';
    return 0;
}
