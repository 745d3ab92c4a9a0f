#pragma once

#include <QByteArray>
#include <QString>

namespace zel::fuzz {

/// Makes the file that the input describes.
void makeHostileDatabase(const QString &path, const QByteArray &input);

/// Whether the database that was made last has sizes that are no numbers, which nobody can add up.
bool isHostileSize();

} // namespace zel::fuzz
