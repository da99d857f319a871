// A test module whose stages raise: a standard exception and one of the library's.
#include "Base/Failure/Exception.h"
#include "Base/Language/TranslatedString.h"
#include "tests/Data/Host/ModuleTestLog.h"

#include <stdexcept>

QELTA_TEST_EXPORT void ThrowerSetupFactoriesForQELTA() {
    ModuleTestLogAppend("Thrower", "SetupFactoriesForQELTA");
    throw std::runtime_error("factories failed");
}

QELTA_TEST_EXPORT void ThrowerSetupManualsForQELTA() {
    ModuleTestLogAppend("Thrower", "SetupManualsForQELTA");
    throw QELTA::Exception(QELTA::TranslatedString::DirectString("manuals failed"),
                           QELTA::TranslatedString::DirectString("Manuals"), false);
}
