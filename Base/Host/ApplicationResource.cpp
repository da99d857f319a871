// The static resources of the application's identity.
#include "Base/Host/ApplicationResource.h"

namespace QELTA {

Resource<TranslatedString> ApplicationResource::application_name;
Resource<String> ApplicationResource::application_version;

} // namespace QELTA
