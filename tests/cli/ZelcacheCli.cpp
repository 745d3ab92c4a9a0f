#include "ZelcacheCli.h"

#include <QDirIterator>
#include <QJsonDocument>
#include <QTest>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int limit = 30'000;

} // namespace

QString ZelcacheCli::program()
{
    return QStringLiteral(ZELCACHE_PROGRAM);
}

QStringList ZelcacheCli::inCache(const QStringList &arguments) const
{
    return QStringList { u"--cache"_s, cache.baseDir() } + arguments;
}

QStringList ZelcacheCli::environment() const
{
    return { u"HOME="_s + home.path(),
             u"XDG_CONFIG_HOME="_s + home.path(),
             u"XDG_DATA_HOME="_s + home.path(),
             u"TERM=xterm"_s,
             u"LC_ALL=C.UTF-8"_s,
             u"LANGUAGE="_s };
}

std::unique_ptr<ProgramRun> ZelcacheCli::start(const QStringList &arguments) const
{
    return start(arguments, ProgramRun::Options());
}

std::unique_ptr<ProgramRun> ZelcacheCli::start(const QStringList &arguments,
                                               ProgramRun::Options options) const
{
    options.environment = environment() + options.environment;
    return std::make_unique<ProgramRun>(program(), inCache(arguments), options);
}

std::unique_ptr<ProgramRun> ZelcacheCli::startInShell(const QString &line) const
{
    ProgramRun::Options options;
    options.environment = environment();
    options.environment.append(u"zelcache="_s + program() + u" --cache "_s + cache.baseDir());
    return std::make_unique<ProgramRun>(u"bash"_s, QStringList { u"-c"_s, line }, options);
}

std::unique_ptr<PtyRun> ZelcacheCli::startAtTerminal(const QStringList &arguments) const
{
    return startAtTerminal(arguments, PtyRun::Options());
}

std::unique_ptr<PtyRun> ZelcacheCli::startAtTerminal(const QStringList &arguments,
                                                     PtyRun::Options options) const
{
    options.environment = environment() + options.environment;
    return std::make_unique<PtyRun>(program(), inCache(arguments), options);
}

QString ZelcacheCli::sharedFile(const QString &name, const QByteArray &content) const
{
    writeFile(cache.outside(name), content);
    return u"share:"_s + cache.outside(name);
}

qint64 ZelcacheCli::stagedBytes() const
{
    qint64 bytes = 0;
    QDirIterator files(cache.baseDir() + u"/Staging"_s, QDir::Files | QDir::Hidden,
                       QDirIterator::Subdirectories);
    while (files.hasNext())
        bytes += QFileInfo(files.next()).size();
    return bytes;
}

void ZelcacheCli::waitUntil(const std::function<bool()> &condition)
{
    ASSERT_TRUE(QTest::qWaitFor(condition, limit));
}

QStringList linesOf(const QByteArray &output)
{
    QStringList lines = QString::fromUtf8(output).split(u'\n');
    EXPECT_TRUE(lines.constLast().isEmpty()) << "the last line has no end";
    lines.removeLast();
    return lines;
}

QJsonObject jsonOf(const QByteArray &output)
{
    EXPECT_EQ(output.count('\n'), 1) << output.toStdString();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(output, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << output.toStdString();
    EXPECT_EQ(document.object().value(u"schema"_s).toInt(), 1) << output.toStdString();
    return document.object();
}

} // namespace zel::test
