// The static resources of the application's identity and its user.
#include "Base/Host/ApplicationResource.h"

namespace QELTA {

Resource<TranslatedString> ApplicationResource::application_name;
Resource<String> ApplicationResource::application_version;
Resource<String> ApplicationResource::username;
Resource<String> ApplicationResource::user_email;

} // namespace QELTA
