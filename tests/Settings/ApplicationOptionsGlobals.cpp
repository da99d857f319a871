// Global options of a second translation unit, registered before main like the host's own.
#include "tests/Settings/ApplicationOptionsGlobals.h"

namespace QELTA::Testing {

ApplicationOption<String> user_name(TranslatedString::DirectString("Test Identity"),
                                    TranslatedString::DirectString("User Name"), String("nobody"),
                                    &ApplicationOptions::UserOptions());
ApplicationOption<Time> last_seen(TranslatedString::DirectString("Test Identity"),
                                  TranslatedString::DirectString("Last Seen"), Time(), &ApplicationOptions::UserOptions());

} // namespace QELTA::Testing
