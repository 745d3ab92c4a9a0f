#pragma once

#include "files/FileHash.h"

namespace zel::zacq {

/// What identifies the content of a container, whatever form it has.
struct ZacqMetadata
{
    FileHash contentHash; ///< of the sample file, as recorded when the container was made
    QString sampleName; ///< the sample's name for people
};

} // namespace zel::zacq
