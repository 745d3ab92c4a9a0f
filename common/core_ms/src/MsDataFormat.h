#pragma once

#include "errors/Result.h"

#include <QObject>
#include <QString>

namespace zel::msreader {

/// Makes the enumeration known to the meta-object system.
class ZEL_QEnumsMsDataFormat
{
    Q_GADGET

public:
    /// The formats in which instruments and programs write mass-spectrometry data. The numbers are
    /// stored by programs and stay as they are.
    enum class VendorDataFormat {
        Unknown = 0,
        Testing = 1,
        Zyspec2 = 2,
        BrukerFID = 3,
        BrukerYEP = 4,
        BrukerBAF = 5,
        BrukerU2 = 6,
        BrukerBAF_and_U2 = 7,
        BrukerTims = 8,
        BrukerTsf = 9,
        AgilentAcqData = 10,
        Mobilion = 11,
        Waters = 12,
        Shimadzu = 13,
        SciexWiff = 14,
        SciexWiff2 = 15,
        MsFaux = 16,
        MsFaux2 = 17,
        Thermo = 18,
        Mgf = 19,
        Mzml = 20,
        Mzxml = 21,
        Zacq = 22,
        DataCut = 23,
        DataCutEmbedded = 24, ///< inside a database; never found by a path
        Csv2d = 25,
    };
    Q_ENUM(VendorDataFormat)
};

using VendorDataFormat = ZEL_QEnumsMsDataFormat::VendorDataFormat;

/// The format's name; the number in decimal for a value without one.
QString vendorDataFormatToString(VendorDataFormat format);
/// Ignores case. Code 2 for a text that is no format's name.
Result<VendorDataFormat> vendorDataFormatFromString(const QString &text);

} // namespace zel::msreader
