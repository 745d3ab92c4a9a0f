#include "internal/Detectors.h"

#include "internal/FormatDetectorAgilent.h"
#include "internal/FormatDetectorBruker.h"
#include "internal/FormatDetectorDataCut.h"
#include "internal/FormatDetectorDataCutEmbedded.h"
#include "internal/FormatDetectorSciexWiff.h"
#include "internal/FormatDetectorSciexWiff2.h"
#include "internal/FormatDetectorSimple.h"
#include "internal/FormatDetectorTesting.h"
#include "internal/FormatDetectorWaters.h"
#include "internal/FormatDetectorZacq.h"

#include <map>
#include <stdexcept>

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;

namespace {

using DetectorList = std::vector<std::unique_ptr<FormatDetectorBase>>;
using IndexOfFormat = std::map<VendorDataFormat, std::size_t>;

template<typename Detector, typename... Arguments>
void add(DetectorList &list, Arguments &&...arguments)
{
    list.push_back(std::make_unique<Detector>(std::forward<Arguments>(arguments)...));
}

void addFile(DetectorList &list, VendorDataFormat format, const QString &extension,
             const QString &description)
{
    add<FormatDetectorSimple>(list, format, false, extension, description);
}

/// In the order in which they are asked.
DetectorList makeDetectors()
{
    DetectorList list;
    add<FormatDetectorAgilent>(list);
    add<FormatDetectorBruker>(list);
    addFile(list, VendorDataFormat::Zyspec2, u".zyspec2"_s, u"Zyspec v2"_s);
    addFile(list, VendorDataFormat::Csv2d, u".csv2d"_s, u"Csv2D"_s);
    add<FormatDetectorDataCut>(list);
    add<FormatDetectorDataCutEmbedded>(list);
    addFile(list, VendorDataFormat::MsFaux, u".msfaux"_s, u"Simulated msfaux"_s);
    addFile(list, VendorDataFormat::MsFaux2, u".msfaux2"_s, u"Simulated msfaux2"_s);
    addFile(list, VendorDataFormat::Mgf, u".mgf"_s, u"Mascot generic format (mgf)"_s);
    addFile(list, VendorDataFormat::Mzml, u".mzml"_s, u"Open data format mzml"_s);
    addFile(list, VendorDataFormat::Mzxml, u".mzxml"_s, u"Open data format mzxml"_s);
    add<FormatDetectorZacq>(list);
    addFile(list, VendorDataFormat::Mobilion, u".mbi"_s, u"MOBILion"_s);
    add<FormatDetectorSciexWiff>(list);
    add<FormatDetectorSciexWiff2>(list);
    addFile(list, VendorDataFormat::Shimadzu, u".lcd"_s, u"Shimadzu"_s);
    addFile(list, VendorDataFormat::Thermo, u".raw"_s, u"Thermo"_s);
    add<FormatDetectorTesting>(list);
    add<FormatDetectorWaters>(list);
    return list;
}

// Never destroyed: a scan on a worker may ask for a format while the process is ending.
const DetectorList *makeCheckedDetectors()
{
    auto list = std::make_unique<const DetectorList>(makeDetectors());
    checkForIntersection(*list);
    return list.release();
}

const IndexOfFormat *makeIndex()
{
    auto index = std::make_unique<IndexOfFormat>();
    for (std::size_t i = 0; i < detectors().size(); ++i) {
        const auto formats = detectors()[i]->supportedFormats();
        for (const VendorDataFormat format : formats)
            index->emplace(format, i);
    }
    return index.release();
}

} // namespace

const DetectorList &detectors()
{
    static const DetectorList *const list = makeCheckedDetectors();
    return *list;
}

FormatDetectorBase *detectorFor(VendorDataFormat format)
{
    static const IndexOfFormat *const index = makeIndex();
    const auto found = index->find(format);
    return found == index->end() ? nullptr : detectors()[found->second].get();
}

void checkForIntersection(const DetectorList &detectors)
{
    QSet<VendorDataFormat> seen;
    for (const auto &detector : detectors) {
        const QSet<VendorDataFormat> formats = detector->supportedFormats();
        if (seen.intersects(formats))
            throw std::runtime_error("Developer's exception: format intersection detected.");
        seen.unite(formats);
    }
}

} // namespace zel::msreader::internal
