#pragma once

namespace zel::cli {

/// Has the program and its libraries speak the language that the user wants messages in (LC_ALL,
/// LC_MESSAGES, LANG), if the program carries a translation into it. A text is put into that
/// language where it is made: none may be made before. Codes and names of members stay as they are.
/// Needs the application object, to which the translations belong.
void installTranslations();

} // namespace zel::cli
