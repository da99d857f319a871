// The conversion of calendar fields to a Time count, shared by the calendar and the text reader.
#pragma once

#include <ctime>

namespace QELTA::Internal {

// The count of `fields` (tm layout) in local time or UTC, plus `sub_second` nanoseconds; Invalid
// for a moment before 1970 or beyond the count's range. In UTC a month outside 0 to 11 raises the
// "Time Format Error" Exception.
unsigned long long TimeCountOf(std::tm const & fields, bool local, unsigned long long sub_second);

} // namespace QELTA::Internal
