#pragma once

#include "internal/FormatDetectorBase.h"

#include <memory>
#include <vector>

namespace zel::msreader::internal {

/// All detectors in the order in which they are asked. Made on first use, which is while the
/// library loads, and kept until the process ends.
const std::vector<std::unique_ptr<FormatDetectorBase>> &detectors();

/// The detector that owns the format, borrowed; null if none does.
FormatDetectorBase *detectorFor(VendorDataFormat format);

/// Throws std::runtime_error if two of the detectors claim one format: a mistake in the table.
void checkForIntersection(const std::vector<std::unique_ptr<FormatDetectorBase>> &detectors);

} // namespace zel::msreader::internal
