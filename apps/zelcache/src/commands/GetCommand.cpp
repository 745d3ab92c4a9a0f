#include "commands/Commands.h"

#include "GetRequests.h"
#include "Library.h"
#include "ReferenceList.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

ExitCode runGet(const Context &context)
{
    QStringList references = context.options.references;
    if (!context.options.listFile.isEmpty()) {
        const auto listed = readReferenceList(context.options.listFile);
        if (!listed.hasValue())
            return context.fail(listed.error());
        references += listed.value();
    }
    if (const auto code = openCache(context))
        return *code;
    GetRequests requests(context, references);
    return requests.run();
}

} // namespace zel::cli
