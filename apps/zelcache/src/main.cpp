#include "CommandLine.h"
#include "ResourceCache.h"
#include "ResourceCacheDao.h"
#include "ResourceManager.h"
#include "commands/Commands.h"
#include "errors/Tracer.h"
#include "output/LogOutput.h"
#include "output/Translations.h"
#include "platform/SignalWatch.h"
#include "platform/Streams.h"

#include <QCoreApplication>
#include <QFile>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::Main)
};

/// The code at the end, where the answer may not have been written. Whoever closed the pipe knows
/// it.
ExitCode codeOfAnswer(Output &output, ExitCode code, ExitCode ofFailure)
{
    const std::error_code failure = output.answerFailure();
    if (!failure)
        return code;
    if (failure != std::errc::broken_pipe)
        output.error(Texts::tr("The answer cannot be written: %1")
                         .arg(QString::fromLocal8Bit(failure.message().c_str())));
    return code == ExitCode::Success ? ofFailure : code;
}

Output::Manner mannerOf(const Options &options)
{
    Output::Manner manner;
    manner.quiet = options.quiet;
    manner.verbosity = options.verbosity;
    manner.showProgress = !options.noProgress;
    if (options.nullTerminated)
        manner.lineEnd = '\0';
    return manner;
}

/// With the log in place before Qt has its first word.
ExitCode run(Command &command, const Options &options, int argc, char **argv)
{
    Output output(mannerOf(options));
    const LogOutput log(&output, options.verbosity);
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"zelcache"_s);
    installTranslations();
    // From before the cache is opened until it is closed again: in between nothing may end the
    // program that leaves its rows behind.
    const SignalWatch signalWatch(&ResourceCacheDao::hasClientRow);
    const ExitCode ofFailure = command.failureCode();
    const ExitCode code
        = command.run({ QString::fromLatin1(command.name()), options, output, ofFailure });
    if (ResourceCacheDao::hasClientRow())
        ResourceManager::cache()->close();
    Tracer::shutdown();
    return codeOfAnswer(output, code, ofFailure);
}

/// Help, the version, or a mistake in the usage.
ExitCode say(const ParseOutcome &outcome)
{
    QFile stream;
    const bool isAnswer = outcome.exitCode == ExitCode::Success;
    const bool written
        = stream.open(isAnswer ? stdout : stderr, QIODevice::WriteOnly | QIODevice::Unbuffered)
        && stream.write(outcome.text.toUtf8()) >= 0;
    return written || !isAnswer ? outcome.exitCode : ExitCode::Failed;
}

ExitCode mainWith(int argc, char **argv)
{
    streams::occupyClosed();
    QStringList arguments;
    for (int index = 1; index < argc; ++index)
        arguments.append(QFile::decodeName(argv[index]));
    const ParseOutcome parsed = parseCommandLine(arguments, allCommands());
    if (!parsed.command)
        return say(parsed);

    SignalWatch::install();
    return run(*parsed.command, parsed.options, argc, argv);
}

} // namespace

} // namespace zel::cli

int main(int argc, char **argv)
{
    return int(zel::cli::mainWith(argc, argv));
}
