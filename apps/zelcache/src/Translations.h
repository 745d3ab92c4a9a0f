#pragma once

namespace zel::cli {

/// Has the libraries speak the language that the user wants messages in (LC_ALL, LC_MESSAGES,
/// LANG), if the program carries a translation into it. Codes, names of members and the program's
/// own texts stay as they are. Needs the application object, to which the translations belong.
void installTranslations();

} // namespace zel::cli
