#pragma once

#include "integrity/ManifestStore.h"

#include <QHash>
#include <QSet>

namespace zel::cli {

/// The host of a reference as the manifests of fetches have it, with its port; empty without one.
QString hostOf(const QString &referenceKey);

/// How fast the latest fetches from these hosts were, in bytes per second and never 0: the median
/// of a few, as they were written down at their ends. A host without such a fetch is left out.
///
/// Only the newest manifests are read, however many there are, so that of a host that nothing was
/// fetched from for long nothing may be known.
QHash<QString, qint64> recordedRates(const ManifestStore &store, const QSet<QString> &hosts);

} // namespace zel::cli
