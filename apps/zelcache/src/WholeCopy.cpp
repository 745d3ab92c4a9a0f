#include "WholeCopy.h"

#include "errors/Propagate.h"
#include "platform/FileSync.h"
#include "platform/ProcessIdentity.h"
#include "platform/TreeRemoval.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::WholeCopy)
};

constexpr QLatin1StringView prefix(".adding-");

/// The copy on its way: beside its place, under a name that tells whose it is.
QString incomingFor(const QString &target)
{
    const ProcessIdentity self = ProcessIdentity::current();
    return u"%1/%2%3-%4"_s.arg(QFileInfo(target).path(), prefix, QString::number(self.pid),
                               QString::number(self.startTime));
}

void removeRemains(const QDir &folder)
{
    const QStringList names
        = folder.entryList({ prefix + u'*' }, QDir::AllEntries | QDir::Hidden | QDir::System);
    for (const QString &name : names) {
        if (!isCopyInProgress(QFile::encodeName(name)))
            ZEL_DROP(TreeRemoval::remove(folder.filePath(name))); // it is in nobody's way
    }
}

Error publish(const QString &incoming, const QString &target)
{
    if (QFileInfo::exists(target))
        return ZEL_ERROR(ErrorCode::OperationFailed, Texts::tr("%1 is there already.").arg(target));
    return ZEL_PASS(FileSync::renameDurably(incoming, target));
}

} // namespace

bool isCopyOnItsWay(const QByteArray &name)
{
    return QFile::decodeName(name).startsWith(prefix);
}

bool isCopyInProgress(const QByteArray &name)
{
    const QList<QByteArray> numbers = name.mid(prefix.size()).split('-');
    const ProcessIdentity owner { numbers.value(0).toLongLong(), numbers.value(1).toLongLong(),
                                  ProcessIdentity::current().bootId };
    return isCopyOnItsWay(name) && owner.isAlive();
}

Error copyWhole(const QString &source, const QString &target, const TreeCopy::Progress &progress)
{
    const QString incoming = incomingFor(target);
    removeRemains(QFileInfo(target).dir());
    const auto copier = QFileInfo(source).isDir() ? &TreeCopy::copyTree : &TreeCopy::copyFile;
    const Error copied = ZEL_PASS(copier(source, incoming, {}, progress));
    const Error failure = copied.hasError() ? copied : publish(incoming, target);
    if (!failure.hasError())
        return copied; // with its warnings
    ZEL_DROP(TreeRemoval::remove(incoming)); // the next copy tries again
    return ZEL_PASS(failure);
}

} // namespace zel::cli
