#pragma once

#include "internal/FormatDetectorSimple.h"

namespace zel::msreader::internal {

/// A folder in .d. What lies in it decides: a folder AcqData, or a file of acquired data in one, of
/// this folder or of any other .d below it, in any case.
///
/// detectFormat() walks the tree below the path up to the first hit: all that is not hidden,
/// through links as well, and so possibly beyond the folder. No folder is entered twice, whatever
/// links lead to it, so that a circle of links ends. The walk gives up after `mostEntries`: a link
/// may lead to all of the machine.
class FormatDetectorAgilent : public FormatDetectorSimple
{
public:
    explicit FormatDetectorAgilent(int mostEntries = 100'000);

    QSet<VendorDataFormat> detectFormat(const QString &path) const override;

private:
    const int mostEntries;
};

} // namespace zel::msreader::internal
