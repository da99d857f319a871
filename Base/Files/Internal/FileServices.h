// The services File needs from the parts of the library that build on it: the folder variables,
// the program's temporary folder, the environment's variables and the table of system errors.
//
// Each is one function here, so that the subsystem that owns it later replaces the body and
// File stays as it is. All are thread-safe; only the Throw functions raise.
#pragma once

#include "Base/Files/File.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"

#include <utility>

namespace QELTA::Internal {

using FolderVariables = Buffer<std::pair<String, String>>;

// The folder variables that expandEnvironmentalVars replaces, key and value, in the order they
// are applied. Empty until the host's table of file resources exists.
FolderVariables FileFolderVariables();

// The third step of expandEnvironmentalVars: the environment's own variables in the text. The
// text stays as it is until the environment subsystem exists.
String ResolveEnvironmentalVariables(String text);

// The program's temporary folder, directory-shaped: for now the system's temporary folder with
// "QELTA\temp\" added.
File ProgramTempPath();

// Raises the FileException of the generic kind that names the error of an open call; 0 returns.
void ThrowOpenError(File const & file, int error);
// The same for a remove, rename or sync; a missing file raises file_does_not_exist.
void ThrowSystemError(File const & file, int error);

} // namespace QELTA::Internal
