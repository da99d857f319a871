// A test module that exports only a few stages and no initialisation.
#include "tests/Data/Host/ModuleTestLog.h"

QELTA_TEST_EXPORT void PartialSetupMetatypesForQELTA() {
    ModuleTestLogAppend("Partial", "SetupMetatypesForQELTA");
}

QELTA_TEST_EXPORT void PartialSetupUIThemesForQELTA() {
    ModuleTestLogAppend("Partial", "SetupUIThemesForQELTA");
}

QELTA_TEST_EXPORT void PartialOnQELTAExit() {
    ModuleTestLogAppend("Partial", "OnQELTAExit");
}
