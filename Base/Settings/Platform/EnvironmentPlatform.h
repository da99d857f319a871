// EnvironmentPlatform: the named operations on the process's environment and on the places where
// variables and registry values persist.
//
// The process's environment is read and written under one lock, so that a read never meets a
// write in flight; callers outside this class that change the environment bypass it at their own
// risk. Folders come out in the library's form. Nothing raises.
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class QELTA_BASE_EXPORT EnvironmentPlatform {
  public:
    EnvironmentPlatform() = delete;

    // The variable's value; false when it is not set.
    static bool GetVariable(StringView const & name, String & value);
    // Sets the variable for this process and the programs it starts; false for a name the system
    // refuses (empty, or holding '=' or a zero byte).
    static bool SetVariable(StringView const & name, StringView const & value);
    // Replaces "${NAME}" and "$NAME" (a letter or '_', then letters, digits and '_') by the
    // variable's value; a variable that is not set stays as it is written.
    static String ExpandVariables(StringView const & text);

    // The file of variables that the user's (or, with `system`, every user's) sessions take in at
    // their start.
    static String PersistentVariablesFile(bool system);
    // The folder of the registry store of the current user, or with `machine`, of the machine.
    static String RegistryFolder(bool machine);
};

} // namespace QELTA
