// The out-of-line destructors that anchor the services' type information in the library.
#include "Base/Settings/SoftwareService.h"

namespace QELTA {

SoftwareService::~SoftwareService() = default;
SoftwareServiceManager::~SoftwareServiceManager() = default;

} // namespace QELTA
