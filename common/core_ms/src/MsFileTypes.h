#pragma once

#include "files/FileTypes.h"

/// The file types of mass-spectrometry data, registered in this order while the library loads.
namespace zel::msreader::MsFileTypes {

using FileType = ExtendableEnum<FileTypes::FileTypeData>;

extern const FileType zyspec2; ///< "ZYSPEC2"
extern const FileType ms; ///< "MS": files and folders
extern const FileType msDir; ///< "MS_DIR"
extern const FileType msFile; ///< "MS_FILE"

} // namespace zel::msreader::MsFileTypes
