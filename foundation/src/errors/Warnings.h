#pragma once

#include "Export.h"

#include <QList>
#include <QString>

namespace zel {

/// A list of warning texts that rides along with an outcome, good or bad.
///
/// The public members are entries to the virtual ones, so that a subclass can pass every change on
/// to something that it wraps. A value: no locks, one thread at a time.
class ZEL_RESOURCE_MANAGER_EXPORT Warnings
{
public:
    Warnings() = default;
    Warnings(const Warnings &) = default;
    Warnings(Warnings &&) = default;
    Warnings &operator=(const Warnings &) = default;
    Warnings &operator=(Warnings &&) = default;
    virtual ~Warnings();

    /// In the order in which they came.
    const QList<QString> &warnings() const { return texts; }

    /// Appends one text.
    void addWarning(const QString &text) { addWarningInternal(text); }
    /// Appends these texts.
    void addWarnings(const QList<QString> &moreTexts) { addWarningsInternal(moreTexts); }
    /// Leaves none.
    void clearWarnings() { clearWarningsInternal(); }
    /// Replaces all warnings by this one.
    void resetWarning(const QString &text) { resetWarningInternal(text); }
    /// Replaces all warnings by these.
    void resetWarnings(const QList<QString> &newTexts) { resetWarningsInternal(newTexts); }

protected:
    virtual void addWarningInternal(const QString &text); ///< what addWarning() does
    virtual void addWarningsInternal(const QList<QString> &moreTexts); ///< what addWarnings() does
    virtual void clearWarningsInternal(); ///< what clearWarnings() does
    virtual void resetWarningInternal(const QString &text); ///< what resetWarning() does
    /// What resetWarnings() does.
    virtual void resetWarningsInternal(const QList<QString> &newTexts);

private:
    QList<QString> texts;
};

} // namespace zel
