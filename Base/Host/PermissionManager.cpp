// The chain of permission handlers.
#include "Base/Host/PermissionManager.h"

namespace QELTA {
namespace {

// Made on first use and never freed: handlers may be registered by static objects.
Buffer<PermissionHandler *> & Handlers() {
    static auto * s_permission_handlers = new Buffer<PermissionHandler *>();
    return *s_permission_handlers;
}

template <class Ask>
PermissionState FirstAnswer(Ask && ask) {
    for (PermissionHandler * handler : Handlers()) {
        if (PermissionState const state = ask(*handler); state != PermissionManager::no_answer) {
            return state;
        }
    }
    return PermissionManager::granted;
}

} // namespace

PermissionHandler::~PermissionHandler() = default;

void PermissionManager::AddPermissionHandler(PermissionHandler * handler) {
    Handlers().add(handler);
}

void PermissionManager::RemovePermissionHandler(PermissionHandler * handler) {
    Buffer<PermissionHandler *> & handlers = Handlers();
    if (auto const index = handlers.indexOf(handler); index != Buffer<PermissionHandler *>::not_found) {
        handlers.removeIndex(index);
    }
}

PermissionState PermissionManager::CheckPermission(StringView const & name) {
    return FirstAnswer([&](PermissionHandler & handler) { return handler.checkPermission(name); });
}

PermissionState PermissionManager::RequestPermission(StringView const & name) {
    return FirstAnswer([&](PermissionHandler & handler) { return handler.requestPermission(name); });
}

bool PermissionManager::HasCamera() {
    return CheckPermission(camera_access) == granted;
}

bool PermissionManager::RequestCamera() {
    return RequestPermission(camera_access) == granted;
}

bool PermissionManager::HasMicrophone() {
    return CheckPermission(microphone_access) == granted;
}

bool PermissionManager::RequestMicrophone() {
    return RequestPermission(microphone_access) == granted;
}

bool PermissionManager::HasLocationWhenInUse() {
    return CheckPermission(location_when_in_use) == granted;
}

bool PermissionManager::RequestLocationWhenInUse() {
    return RequestPermission(location_when_in_use) == granted;
}

} // namespace QELTA
