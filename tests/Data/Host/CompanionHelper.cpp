// The companion library of the Companion test module.
#include "tests/Data/Host/CompanionHelper.h"

char const * CompanionHelperText() {
    return "SetupMetatypesForQELTA with its companion";
}
