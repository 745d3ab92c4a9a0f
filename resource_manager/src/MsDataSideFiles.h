#pragma once

#include <QByteArrayView>

#include <array>

/// The names of the files that analysis programs leave beside mass-spectrometry data, and which
/// count as part of its resource.
namespace zel::MsDataSideFiles {

/// The placeholder stands for the name of the file or folder that has the data.
inline constexpr std::array<const char *, 2> namePatterns { "%1.ms1.cache", "%1.data.cache" };

/// What such a name adds to that of the data.
constexpr QByteArrayView endingOf(const char *pattern)
{
    return QByteArrayView(pattern).sliced(2);
}

} // namespace zel::MsDataSideFiles
