// CrashPlatform: the operations behind crash handling: catching faults and uncaught exceptions,
// walking the stack of a fault, and writing the dump and the report.
//
// Install, FaultName, Inspect, WriteDump and WriteTextFile are safe inside a signal handler: they
// neither allocate nor lock, and use only calls that the system allows there, on static
// buffers. They serve one fault at a time; the handler guarantees that. Nothing here raises, and
// nothing fails loudly: a frame without a module or symbol stays empty, a dump that cannot be
// written answers false.
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <cstddef>

namespace QELTA {

// A fault as the handler saw it.
struct CrashFault {
    int signal = 0;                   // the system's signal number; 0 for an uncaught exception
    int code = 0;                     // the system's sub-code of the signal
    unsigned long long address = 0;   // the memory address the fault concerns
    void * context = nullptr;         // the processor state of the fault; null: taken by Inspect
    char const * exception = nullptr; // type and text of an uncaught exception, or null
};

// One frame of the stack, innermost first.
struct CrashFrame {
    unsigned long long address = 0; // the instruction, or the return address of an outer frame
    unsigned long long offset = 0;  // the address's byte offset in its module's file
    char module[256] = {};          // the file of the module, empty when unknown
    char symbol[512] = {};          // the function as the module's symbol table names it, mangled
};

// What Inspect found about a fault.
struct CrashInspection {
    static constexpr unsigned int max_frames = 64;

    void * context = nullptr; // the processor state the frames were walked from
    unsigned long long instruction = 0;
    unsigned int frame_count = 0;
    CrashFrame frames[max_frames];
};

class QELTA_BASE_EXPORT CrashPlatform {
  public:
    CrashPlatform() = delete;

    // Called once for the first fault of the process; the result is not used.
    using Handler = bool (*)(CrashFault const & fault);

    // The first call catches SEGV, BUS, FPE, ILL and ABRT on an alternate stack (given to the
    // calling thread unless it has one) and uncaught C++ exceptions; every call sets the
    // handler. After the handler, the fault goes on to what was installed before: the previous
    // signal handler, or the system's default (the process ends with the signal and its core
    // dump), or the previous terminate handler. A fault on another thread while one is being
    // handled waits for it, at most 30 s.
    static void Install(Handler handler) noexcept;

    // "SIGSEGV", "SIGBUS", "SIGFPE", "SIGILL", "SIGABRT", or null for any other number.
    static char const * FaultName(int signal) noexcept;

    // Walks the stack from the fault's context (the caller's own when it has none) by its frame
    // pointers, each read checked, and looks each frame up in the symbol table of its module.
    // Code built without frame pointers gives the faulting frame and few others.
    static void Inspect(CrashFault const & fault, CrashInspection & out) noexcept;

    // Writes the dump into `folder` (the library's path form; made when missing) as
    // "YYYY_MM_DD_HH_mm_ss.dmp" by the local time (the zone's offset as it was at Install).
    // `stem` receives the dump's path in the system's form without ".dmp". False when the dump
    // can't be written. The layout is documented in Base/Failure/CrashManager.h.
    static bool WriteDump(CrashFault const & fault, CrashInspection const & inspection, StringView const & folder,
                          char * stem, std::size_t stem_capacity) noexcept;

    // Writes `text` to the file `path` (system form), replacing it.
    static bool WriteTextFile(char const * path, char const * text, std::size_t size) noexcept;

    // The readable form of a mangled C++ name; other names come back as they are. Not for a
    // signal handler.
    static String Demangle(StringView const & symbol);
};

} // namespace QELTA
