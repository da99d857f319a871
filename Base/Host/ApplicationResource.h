// ApplicationResource: the all-static face of the running application: its identity and its user.
//
// Nothing here is an instance: the state is a set of static Resources that any part may watch.
// They are set by the host at start-up, on its primary thread, and read from anywhere; the
// values have no lock of their own (see Resource). Nothing raises.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/String.h"

namespace QELTA {

class QELTA_BASE_EXPORT ApplicationResource {
  public:
    ApplicationResource() = delete;

    // The application's name; while it is empty no translator is asked, and every text shows in
    // English.
    static Resource<TranslatedString> application_name;
    static Resource<String> application_version;
    // Who uses the application, as "modules.ini" keeps it.
    static Resource<String> username;
    static Resource<String> user_email;
};

} // namespace QELTA
