#include "Fuzzing.h"

#include "Isolation.h"
#include "references/ResourceReferenceUtils.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace zel::fuzz {

namespace {

/// Counters that the fuzzer looks at besides those of instrumented code.
__attribute__((section("__libfuzzer_extra_counters"))) std::array<std::uint8_t, 1024> counters;

void dropMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    Q_UNUSED(type);
    Q_UNUSED(context);
    Q_UNUSED(message);
}

} // namespace

void fail(const char *condition, const char *file, int line)
{
    std::fprintf(stderr, "%s:%d: this does not hold: %s\n", file, line, condition);
    std::abort();
}

void checkFailure(const Error &error, std::initializer_list<int> codes)
{
    const QStringList lines = error.errorMessage().split(u'\n');
    const bool isKnown
        = std::find(codes.begin(), codes.end(), int(error.errorCode())) != codes.end();
    const bool isPlain
        = std::none_of(lines.begin(), lines.end(), ResourceReferenceUtils::hasControlCharacters);
    if (!error.hasError() || !isKnown || !isPlain || lines.contains(QString())
        || error.trail().isEmpty()) {
        std::fprintf(stderr, "Not what a failure must be: %s\n", qPrintable(error.description()));
        std::abort();
    }
    const auto &place = error.trail().first();
    noteOutcome(QString::fromUtf8(place.function) + QString::number(place.line));
}

void checkOutcome(const Error &error, std::initializer_list<int> codes)
{
    if (error.hasError())
        checkFailure(error, codes);
}

void noteOutcome(const QString &outcome)
{
    counters.at(qHash(outcome, 0) % counters.size()) = 1;
}

QString pathOf(const QString &name)
{
    return writableFolder() + u'/' + name;
}

void clearFolder()
{
    const QDir folder(writableFolder());
    const auto entries = folder.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System
                                              | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        const bool isFolder = entry.isDir() && !entry.isSymLink();
        ZEL_MUST(isFolder ? QDir(entry.filePath()).removeRecursively()
                          : QFile::remove(entry.filePath()));
    }
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly)
        && file.write(content) == content.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray bytesOf(const std::uint8_t *data, std::size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), qsizetype(size));
}

QString textOf(const std::uint8_t *data, std::size_t size)
{
    return QString::fromUtf8(bytesOf(data, size));
}

} // namespace zel::fuzz

/// The fuzzer calls it once, before anything else.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    zel::fuzz::isolate();
    qInstallMessageHandler(zel::fuzz::dropMessage);
    // Neither of them dies: what the fuzzer does at its end comes before or after everything.
    static int one = 1;
    Q_UNUSED(argc);
    new QCoreApplication(one, *argv);
    return 0;
}
