#pragma once

#include "Export.h"

#include <QByteArray>
#include <QString>

namespace zel {

/// Writes spans of time to a file that trace viewers read (the JSON array form of the Trace Event
/// Format: one object per line, "B" opens a span, "E" closes it, times in microseconds).
///
/// Off until the host calls initialize(). Every member may be called on any thread. A span is told
/// by process, thread, category and name; spans of one thread may overlap only if they nest.
class ZEL_RESOURCE_MANAGER_EXPORT Tracer
{
public:
    /// Starts the file anew and turns tracing on. False if the file cannot be written, or if
    /// tracing is on already.
    static bool initialize(const QString &filePath);
    /// Ends the file properly and turns tracing off. Viewers also read a file without this.
    static void shutdown();
    static bool isInitialized(); ///< whether tracing is on

    /// The text in the form that the spans take. A QByteArray must outlive the call that uses it;
    /// what comes from a QString stays valid for the next few calls on this thread.
    static const char *rawData(const char *text);
    /// See rawData(const char *).
    static const char *rawData(const QByteArray &text);
    /// See rawData(const char *).
    static const char *rawData(const QString &text);

    /// Opens a span on this thread, with one argument for the viewer. Nothing while tracing is off.
    static void beginTraceC(const char *category, const char *name, const char *argumentName,
                            const char *argumentValue);
    /// Closes the span that was opened with the same category and name on this thread.
    static void endTraceC(const char *category, const char *name, const char *argumentName,
                          const char *argumentValue);
};

namespace tracer_categories_settings {

/// Which categories the host wants traced; none at the start. Names are compared exactly.
ZEL_RESOURCE_MANAGER_EXPORT bool isCategoryEnabled(const char16_t *category);
/// The library asks for one, u"RESOURCE_RETRIEVAL": each retrieval from another place is a span of
/// the category "resource_retrieval". It asks once per process, at the first retrieval: tracing is
/// set up before that, or not at all.
ZEL_RESOURCE_MANAGER_EXPORT void setCategoryEnabled(const char16_t *category, bool enabled);

} // namespace tracer_categories_settings

} // namespace zel
