// SoftwareService and SoftwareServiceManager: the marker bases by which a class says that it
// offers a service or hands out services.
//
// Neither holds data or takes a lock; they exist so that services can be kept and passed by one
// base type. Nothing here raises.
#pragma once

#include "Base/Export.h"

namespace QELTA {

class QELTA_BASE_EXPORT SoftwareService {
  public:
    SoftwareService() = default;
    SoftwareService(SoftwareService const &) = default;
    SoftwareService & operator=(SoftwareService const &) = default;
    virtual ~SoftwareService();
};

class QELTA_BASE_EXPORT SoftwareServiceManager : public virtual SoftwareService {
  public:
    SoftwareServiceManager() = default;
    SoftwareServiceManager(SoftwareServiceManager const &) = default;
    SoftwareServiceManager & operator=(SoftwareServiceManager const &) = default;
    ~SoftwareServiceManager() override;
};

} // namespace QELTA
