// The companion library of the Companion test module.
#pragma once

#include "tests/Data/Host/ModuleTestLog.h"

QELTA_TEST_EXPORT char const * CompanionHelperText();
