// A test module that needs a companion library found only in a folder the system doesn't search.
#include "tests/Data/Host/CompanionHelper.h"
#include "tests/Data/Host/ModuleTestLog.h"

QELTA_TEST_EXPORT void CompanionSetupMetatypesForQELTA() {
    ModuleTestLogAppend("Companion", CompanionHelperText());
}
