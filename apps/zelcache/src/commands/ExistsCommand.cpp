#include "Command.h"
#include "CommandOptions.h"
#include "ReferenceHandlers.h"
#include "ResourceManager.h"
#include "TaskWait.h"
#include "output/Text.h"
#include "removal/EnteringDanger.h"

#include <QJsonArray>

#include <vector>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto helpDetails
    = R"(Prints "yes" or "no" and the reference, one line each. The exit code is 3 if the
answer is no for any of them. With -q only the exit code answers.

Examples:
  zelcache exists https://data.example.org/runs/run1.raw
  zelcache -q exists share:/mnt/lab/run1.d && echo there)";

/// One reference, the task that asks about it, and the answer.
struct Question
{
    QString reference;
    QSharedPointer<ResourceHandler> handler;
    std::unique_ptr<Task> task;
    Error failure;

    Result<bool> answer() const { return task ? task->result<bool>() : Result<bool>(failure); }
};

Question asked(const QString &argument)
{
    Question question;
    question.reference = withoutSecrets(argument);
    const auto handler = handlerOf(argument);
    if (!handler.hasValue()) {
        question.failure = handler.error();
        return question;
    }
    question.handler = handler.value();
    question.reference = question.handler->reference()->referenceText(false);
    auto task = ResourceManager::existsAsync(question.handler, ResourceHandler::Queued);
    if (task.hasValue())
        question.task = std::move(task).value();
    else
        question.failure = task.error();
    return question;
}

QJsonObject entryOf(const Question &question)
{
    const Result<bool> answer = question.answer();
    if (!answer.hasValue())
        return json::entry(question.reference, answer.error());
    return { { u"reference"_s, question.reference }, { u"exists"_s, answer.value() } };
}

void writeAnswers(const Context &context, const std::vector<Question> &questions)
{
    QJsonArray results;
    for (const Question &question : questions) {
        const Result<bool> answer = question.answer();
        if (!answer.hasValue())
            context.output.error(question.reference + u": "_s + answer.error().errorMessage());
        else if (!context.options.json && !context.options.quiet)
            context.output.answer((answer.value() ? u"yes "_s : u"no "_s) + question.reference);
        results.append(entryOf(question));
    }
    if (!context.options.json)
        return;
    QJsonObject answer = context.emptyAnswer();
    answer.insert(u"results"_s, results);
    context.output.answer(answer);
}

ExitCode codeOf(const std::vector<Question> &questions)
{
    QList<Error> failures;
    bool allExist = true;
    for (const Question &question : questions) {
        const Result<bool> answer = question.answer();
        if (!answer.hasValue())
            failures.append(answer.error());
        else
            allExist = allExist && answer.value();
    }
    if (!failures.isEmpty())
        return exitCodeOf(failures);
    return allExist ? ExitCode::Success : ExitCode::AnswerIsNo;
}

class ExistsCommand : public Command
{
public:
    ExistsCommand()
        : Command("exists", "Ask whether resources exist", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override { options::addReferences(app, references, true); }

    ExitCode run(const Context &context) override;

private:
    QStringList references;
};

ExitCode ExistsCommand::run(const Context &context)
{
    if (const auto code = openCacheToEnter(context, references))
        return *code;
    TaskWait wait;
    std::vector<Question> questions;
    for (const QString &argument : references) {
        questions.push_back(asked(argument));
        if (const auto &task = questions.back().task)
            wait.add(task.get());
    }
    const int signalNumber = wait.run([] {});
    if (signalNumber != 0)
        return context.cancel(signalNumber);
    writeAnswers(context, questions);
    return codeOf(questions);
}

} // namespace

std::unique_ptr<Command> makeExistsCommand()
{
    return std::make_unique<ExistsCommand>();
}

} // namespace zel::cli
