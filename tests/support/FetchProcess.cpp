#include "FetchProcess.h"

#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QFile>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

FetchSource::FetchSource(const QString &folder, int size)
    : folder(folder)
{
    for (int line = 0; bytes.size() < size; ++line)
        bytes.append(QByteArray::number(line).append('\n'));
    bytes.truncate(size);
    writeFile(file(), bytes);
    writeFile(log(), {});
}

QString FetchSource::file() const
{
    return folder + u"/source"_s;
}

QString FetchSource::log() const
{
    return folder + u"/transfers"_s;
}

int FetchSource::transfers() const
{
    return int(readFile(log()).count('\n'));
}

FetchProcess::FetchProcess(const QString &baseDir, const FetchSource &source,
                           const QStringList &references, const Options &options)
    : ActorProcess(QStringLiteral(ZEL_FETCH_ACTOR),
                   argumentsFor(baseDir, source, references, options), options.environment)
{
}

QStringList FetchProcess::argumentsFor(const QString &baseDir, const FetchSource &source,
                                       const QStringList &references, const Options &options)
{
    QStringList arguments { u"--source"_s, source.file(), u"--log"_s, source.log() };
    for (const QString &step : options.pauses)
        arguments << u"--pause-at"_s << step;
    if (options.dieAtFileStep)
        arguments << u"--die-at"_s << QString::number(*options.dieAtFileStep);
    return arguments << baseDir << references;
}

void FetchProcess::awaitPause(const QString &step)
{
    EXPECT_EQ(answer(), u"at "_s + step);
}

void FetchProcess::goOn()
{
    send({});
}

} // namespace zel::test
