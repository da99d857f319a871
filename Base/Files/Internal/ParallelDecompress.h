// The parallel loop that decompresses the deferred blocks of a BinaryFile.
//
// One function; it owns nothing and may be called from any thread. The objects' targets must be
// distinct and untouched by others while it runs. Nothing escapes the loop: a failure is returned.
#pragma once

#include "Base/Files/Compressor.h"

#include <exception>

namespace QELTA::Internal {

// Runs Compressor::DecompressData on `count` objects side by side on `threads` threads (0: one a
// core; one thread where the library is built without OpenMP) and returns the failure of the
// lowest-numbered object that failed, or null when none did.
std::exception_ptr DecompressSideBySide(BinaryCompressionObject * objects, unsigned long long count,
                                        unsigned int threads);

} // namespace QELTA::Internal
