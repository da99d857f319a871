// The platform's diagnostic channels: the debugger channel and the caller's stack trace.
//
// All functions are thread-safe and never throw. They fail quietly: with no debugger attached
// nothing is written, and a trace that cannot be taken is empty.
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class QELTA_BASE_EXPORT DiagnosticsPlatform {
  public:
    DiagnosticsPlatform() = delete;

    // True while a debugger is attached to this process.
    static bool IsDebuggerAttached() noexcept;

    // Writes `text` to the debugger channel, only while a debugger is attached.
    static void WriteToDebugger(StringView const & text) noexcept;

    // The stack of the calling thread, one frame a line, innermost first, without this function
    // and the `skip_frames` frames above it: "#<n> <function> at <file>:<line> in <module>".
    // Function names are demangled; file and line are given where debug information exists.
    static String CaptureStackTrace(unsigned int skip_frames = 0);
};

} // namespace QELTA
