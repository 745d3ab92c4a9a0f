#include "errors/Tracer.h"
#include "errors/RetrievalTracing.h"

#include "threads/Mutex.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QThread>

#include <array>
#include <atomic>
#include <memory>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

struct TraceFile
{
    Mutex mutex { "the trace file" };
    std::unique_ptr<QFile> file; ///< null while tracing is off
    QElapsedTimer clock;
    bool hasEvents = false;
    std::atomic<bool> isOpen = false;
};

// Never destroyed: spans may end while the process exits.
TraceFile &traceFile()
{
    static auto *trace = new TraceFile;
    return *trace;
}

void writeEvent(char16_t phase, const char *category, const char *name, const char *argumentName,
                const char *argumentValue)
{
    TraceFile &trace = traceFile();
    const std::lock_guard lock(trace.mutex);
    if (!trace.file)
        return;

    const QJsonObject event {
        { u"ph"_s, QString(QChar(phase)) },
        { u"cat"_s, QString::fromUtf8(category) },
        { u"name"_s, QString::fromUtf8(name) },
        { u"ts"_s, trace.clock.nsecsElapsed() / 1000 },
        { u"pid"_s, QCoreApplication::applicationPid() },
        { u"tid"_s, static_cast<qint64>(reinterpret_cast<quintptr>(QThread::currentThreadId())) },
        { u"args"_s,
          QJsonObject { { QString::fromUtf8(argumentName), QString::fromUtf8(argumentValue) } } },
    };
    trace.file->write(trace.hasEvents ? ",\n" : "\n");
    trace.file->write(QJsonDocument(event).toJson(QJsonDocument::Compact));
    trace.hasEvents = true;
    // Each event reaches the file at once: the next thing that happens may be a crash.
    trace.file->flush();
}

struct EnabledCategories
{
    Mutex mutex { "the categories of traces" };
    QSet<QString> names;
};

EnabledCategories &enabledCategories()
{
    static auto *categories = new EnabledCategories;
    return *categories;
}

} // namespace

bool Tracer::initialize(const QString &filePath)
{
    TraceFile &trace = traceFile();
    const std::lock_guard lock(trace.mutex);
    if (trace.file)
        return false;

    auto file = std::make_unique<QFile>(filePath);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Truncate) || file->write("[") != 1)
        return false;
    trace.file = std::move(file);
    trace.clock.start();
    trace.hasEvents = false;
    trace.isOpen = true;
    return true;
}

void Tracer::shutdown()
{
    TraceFile &trace = traceFile();
    const std::lock_guard lock(trace.mutex);
    if (!trace.file)
        return;
    trace.file->write("\n]\n");
    trace.file.reset();
    trace.isOpen = false;
}

bool Tracer::isInitialized()
{
    return traceFile().isOpen;
}

const char *Tracer::rawData(const char *text)
{
    return text;
}

const char *Tracer::rawData(const QByteArray &text)
{
    return text.constData();
}

const char *Tracer::rawData(const QString &text)
{
    // A span has four texts; eight keep those of a begin and an end alive together.
    thread_local std::array<QByteArray, 8> recent;
    thread_local size_t next = 0;
    QByteArray &slot = recent[next++ % recent.size()];
    slot = text.toUtf8();
    return slot.constData();
}

void Tracer::beginTraceC(const char *category, const char *name, const char *argumentName,
                         const char *argumentValue)
{
    writeEvent(u'B', category, name, argumentName, argumentValue);
}

void Tracer::endTraceC(const char *category, const char *name, const char *argumentName,
                       const char *argumentValue)
{
    writeEvent(u'E', category, name, argumentName, argumentValue);
}

bool tracer_categories_settings::isCategoryEnabled(const char16_t *category)
{
    EnabledCategories &enabled = enabledCategories();
    const std::lock_guard lock(enabled.mutex);
    return enabled.names.contains(QStringView(category).toString());
}

void tracer_categories_settings::setCategoryEnabled(const char16_t *category, bool shouldEnable)
{
    EnabledCategories &enabled = enabledCategories();
    const std::lock_guard lock(enabled.mutex);
    if (shouldEnable)
        enabled.names.insert(QStringView(category).toString());
    else
        enabled.names.remove(QStringView(category).toString());
}

bool isRetrievalTracingActive()
{
    static const bool active = tracer_categories_settings::isCategoryEnabled(u"RESOURCE_RETRIEVAL")
        && Tracer::isInitialized();
    return active;
}

} // namespace zel
