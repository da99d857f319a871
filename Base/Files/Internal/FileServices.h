// The services File needs from the parts of the library that build on it: the folder variables,
// the program's temporary folder, the environment's variables and the tables of errors.
//
// Each is one function here, so that the subsystem that owns it later replaces the body and
// File stays as it is. All are thread-safe; only the Throw functions raise.
#pragma once

#include "Base/Files/File.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"

#include <utility>

namespace QELTA::Internal {

using FolderVariables = Buffer<std::pair<String, String>>;

// The cache a successful attribute query gives: trusted, existing, and the kind of entry.
FileCachedData CachedDataOf(FileAttributes const & attributes) noexcept;

// The folder variables that expandEnvironmentalVars replaces, key and value, in the order they
// are applied: FileResource::FileEnvVariables() in its iteration order.
FolderVariables FileFolderVariables();

// The third step of expandEnvironmentalVars: the environment's own variables in the text. The
// text stays as it is until the environment subsystem exists.
String ResolveEnvironmentalVariables(String text);

// The program's temporary folder, directory-shaped: FileResource::ProgramTempPath().
File ProgramTempPath();

// The error tables (FileErrors.cpp). This system's error numbers reach their rows by name.

// Raises the FileException of the generic kind whose message is the row of the open table for
// the error of an open, write or close; an error without a row gets the system's own sentence,
// with no translation id. 0 returns.
void ThrowOpenError(File const & file, int error);
// The same for a remove or a rename, by the table of system errors: a missing file raises
// file_does_not_exist, a missing folder on the way "ERROR_PATH_NOT_FOUND", others a row of the
// open table or the system's own sentence. 0 returns.
void ThrowSystemError(File const & file, int error);
// The copy engine's result for a copy that failed or was stopped: 0x80270000 plus the row, the
// user's cancel being 0x80270000 itself; an error without a row gives 0x80070000 with the error
// number in the low 16 bits. 0 for success.
int CopyEngineResult(CopyOutcome const & outcome);
// The text of a copy engine result; a result without a row gives "COPYENGINE_E_UNKNOWN" with the
// result in hexadecimal.
TranslatedString CopyEngineError(int result);
// Raises the FileException of the generic kind "File could not be copied: [exception]" about the
// source, with the text of the copy engine result in the slot.
[[noreturn]] void ThrowCopyError(File const & source, int result);

} // namespace QELTA::Internal
