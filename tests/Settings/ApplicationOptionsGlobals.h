// Global options defined in a translation unit of their own.
#pragma once

#include "Base/Settings/ApplicationOptions.h"

namespace QELTA::Testing {

extern ApplicationOption<String> user_name;
extern ApplicationOption<Time> last_seen;

} // namespace QELTA::Testing
