// PermissionManager and PermissionHandler: the operating system's permissions (camera, microphone,
// location), asked through a chain of handlers that a platform layer registers.
//
// The manager holds pointers to handlers it doesn't own, in the order of addition; a handler must
// stay alive while it is registered. No lock: handlers are registered at start-up, on the host's
// thread, before anyone asks. Nothing raises; with no handler every permission is granted.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/StringView.h"

#include <cstdint>

namespace QELTA {

// 0: the handler has no answer; 2: granted; other values are the handlers' own.
using PermissionState = std::uint8_t;

class QELTA_BASE_EXPORT PermissionHandler {
  public:
    virtual ~PermissionHandler();
    virtual PermissionState checkPermission(StringView const & name) = 0;
    virtual PermissionState requestPermission(StringView const & name) = 0;
};

class QELTA_BASE_EXPORT PermissionManager {
  public:
    PermissionManager() = delete;

    static constexpr PermissionState no_answer = 0;
    static constexpr PermissionState granted = 2;
    static constexpr char camera_access[] = "camera_access";
    static constexpr char microphone_access[] = "microphone_access";
    static constexpr char location_when_in_use[] = "location_when_in_use";

    static void AddPermissionHandler(PermissionHandler * handler);
    // Removes the handler's first entry; an unknown one does nothing.
    static void RemovePermissionHandler(PermissionHandler * handler);
    // The first handler's answer that isn't no_answer, in the order of addition; granted when
    // nobody answers.
    static PermissionState CheckPermission(StringView const & name);
    static PermissionState RequestPermission(StringView const & name);

    static bool HasCamera();
    static bool RequestCamera();
    static bool HasMicrophone();
    static bool RequestMicrophone();
    static bool HasLocationWhenInUse();
    static bool RequestLocationWhenInUse();
};

} // namespace QELTA
