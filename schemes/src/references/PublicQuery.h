#pragma once

#include <QString>

namespace zel {

/// The query of an address without the parameters that sign a request or open a door: signatures,
/// tokens, keys, and what belongs to them, as stores of objects and servers use them. They change
/// from one link to the next, so they say nothing about which file is meant, and are secrets.
QString publicQuery(const QString &query);

} // namespace zel
