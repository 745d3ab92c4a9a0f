// Fetches one run of an archive into the shared cache and tells what belongs to it.
#include "ArchiveReports.h"
#include "ArchiveScheme.h"
#include "ResourceManager.h"
#include "errors/Propagate.h"
#include "tasks/GetSiblingsTask.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QTextStream>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Keep the handler for as long as the data is used: it is what keeps the data from being purged.
using Handler = QSharedPointer<ResourceHandler>;

Error showFiles(const Handler &handler, QTextStream &out)
{
    ZEL_TRY_LET(const QString path, handler->expectedPath());
    out << "run: " << path << '\n';
    const QList<QString> reports = archive::ArchiveReports().getAssociatedResources(path);
    for (const QString &report : reports)
        out << "report: " << report << '\n';
    return Error();
}

Error showMetadata(const Handler &handler, QTextStream &out)
{
    ZEL_TRY_LET(const auto metadata, handler->retrieveMetadata());
    out << "metadata: " << QJsonDocument(metadata->toJson()).toJson(QJsonDocument::Compact) << '\n';
    return Error();
}

Error showSiblings(const Handler &handler, QTextStream &out)
{
    Error error;
    ZEL_TRY_LET(const auto search, handler->siblings());
    search->exec();
    ZEL_TRY(error, search->waitForAllFinished(-1));
    const auto siblings = search->siblings();
    for (const auto &sibling : siblings)
        out << "same batch: " << sibling->referenceText(false) << '\n';
    return error;
}

Error show(const Handler &handler, QTextStream &out)
{
    Error error;
    ZEL_TRY(error, handler->retrieve());
    // A fetch counts the run alone. Its report is counted here and not by the next weekly count.
    ZEL_TRY(error, ResourceManager::updateFileSizes({ handler }));
    ZEL_TRY(error, showFiles(handler, out));
    ZEL_TRY(error, showMetadata(handler, out));
    ZEL_TRY(error, showSiblings(handler, out));
    return error;
}

Error run(const QString &reference)
{
    Error error;
    ZEL_TRY(error, archive::registerArchiveScheme());
    ZEL_TRY_LET(const Handler handler, ResourceManager::getHandler(reference));
    QTextStream out(stdout);
    ZEL_TRY(error, show(handler, out));
    return error;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        QTextStream(stderr) << "usage: archive_host archive:/FOLDER/ID\n";
        return 2;
    }
    const Error error = run(arguments.at(1));
    if (error.hasError()) {
        // description() also tells the way that the failure has come.
        QTextStream(stderr) << error.errorMessage() << '\n';
        return 1;
    }
    return 0;
}
