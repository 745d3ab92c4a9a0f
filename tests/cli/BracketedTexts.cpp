#include "BracketTranslator.h"

namespace {

/// For as long as the program runs, and so for ever.
void putTextsInBrackets()
{
    static const auto *translator = new zel::test::BracketTranslator;
    static_cast<void>(translator);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(putTextsInBrackets)
