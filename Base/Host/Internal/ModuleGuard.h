// The guard under which the host's calls into modules run while an error callback is set.
//
// Plain functions on the registry of ModuleManager, for its own thread.
#pragma once

#include <functional>

namespace QELTA::Internal {

// Runs `call`. With the error callback of ModuleManager set, an Exception goes to the callback as
// it stands and a standard exception as an Exception titled "Module load error" with its what()
// text; either way the call returns normally. Without a callback everything passes.
void RunModuleGuarded(std::function<void()> const & call);

} // namespace QELTA::Internal
