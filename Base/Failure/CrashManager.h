// LibAssert, CrashManager and CrashDump: failed assertions as exceptions, and a fault that
// escapes every catch turned into a dump, a readable report and a call of the host's callback.
//
// The CrashManager made top level stays so until it is destroyed; the process holds no other
// reference to it. When a fault arrives, nothing is locked: the dump and the report are written
// with async-signal-safe calls only, then the callback runs as a last effort (it builds an
// Exception, which allocates and takes the translator's locks: the one accepted risk), and then
// the fault goes on to what the process had before, so that its exit status and the kernel's
// core dump stay as they were. Each step guards itself; nothing raises out of a handler.
// CrashDump reads dumps back; it never reads outside the bytes it is given.
//
// Dump layout (".dmp"), little-endian, written in this order:
//   header   8 bytes "QELTADMP", version (u32, 1), 4 reserved zero bytes
//   records  each: kind (u32), payload size (u32), payload
//     1 fault      signal (i32; 0 for an uncaught C++ exception), code (i32), fault address
//                  (u64), instruction address (u64), process id (u32), thread id (u32), time
//                  (u64, nanoseconds since 1970 UTC)
//     2 thread     the faulting thread's name as the system keeps it (at most 15 bytes)
//     3 registers  entries of a name (8 bytes, zero-padded) and a value (u64)
//     6 exception  the type and text of an uncaught exception, when there is one
//     4 frame      one record a frame, innermost first: address (u64), offset in the module's
//                  file (u64), module path length (u32) and bytes, symbol length (u32) and the
//                  mangled symbol's bytes
//     5 maps       a copy of /proc/self/maps at the time of the fault
// A reader skips records of a kind it does not know.
#pragma once

#include "Base/Export.h"
#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Time/Time.h"

#include <cstddef>
#include <functional>

namespace QELTA {

class QELTA_BASE_EXPORT LibAssert {
  public:
    LibAssert() = delete;

    using Callback = std::function<void(char const * a, char const * b, char const * c, unsigned int line)>;

    // With a callback set, calls it and returns. Otherwise prints `b` through perror and raises
    // an Exception with `b` as its message and `c` as its title, neither translated.
    static void NAssert(char const * const a, char const * const b, char const * const c, unsigned int line);
    // Not thread-safe: set it at start-up. An empty function restores the default.
    static void SetAssertCallback(Callback callback);
};

class QELTA_BASE_EXPORT CrashManager {
  public:
    // The folder under the user's settings that dumps go to by default.
    static constexpr char dump_folder[] = "Dumps";

    // The dump folder is FileResource::PathToUserSettings() with "Dumps" appended.
    CrashManager();
    CrashManager(CrashManager const & other);
    CrashManager & operator=(CrashManager const & other);
    // No longer top level, if it was.
    virtual ~CrashManager();

    // Without a callback, faults are passed on untouched.
    void setCallback(std::function<void(Exception const &)> callback);
    // An empty folder writes no dump.
    void setMiniDumpDirectory(File const & folder);
    File const & miniDumpDirectory() const noexcept { return minidump_directory_; }

    // Makes this the manager of the process's faults and catches them from now on: the signals
    // SEGV, BUS, FPE, ILL and ABRT, and uncaught C++ exceptions.
    void setAsTopLevelExceptionHandler();

    // Handles a fault (a CrashFault of Base/Failure/Platform/CrashPlatform.h): false without a
    // callback. Otherwise walks the stack into a report that begins "Exception: <SIGNAL>" and a
    // line of 66 dashes and names a function a frame; writes the dump "YYYY_MM_DD_HH_mm_ss.dmp"
    // (local time) into the dump folder and the report as the same name with ".txt"; and calls
    // the callback with an Exception titled "General Error" whose message is
    // "minidump_exception_message": the text "unhandled_exception_message", the report and
    // "minidump_location_message" ("Dump written to: [minidump_directory]") or, when the dump
    // could not be written, "minidump_write_error". Two faults in one second share the name.
    virtual bool handleException(void * fault);
    // False.
    virtual bool recordAllExceptions() const;

    // The top-level manager, or null.
    static CrashManager * CurrentCrashManager() noexcept;

  private:
    std::function<void(Exception const &)> callback_;
    File minidump_directory_;
};

// A dump read back.
class QELTA_BASE_EXPORT CrashDump {
  public:
    struct Register {
        String name;
        unsigned long long value = 0;
    };
    struct Frame {
        unsigned long long address = 0;
        unsigned long long offset = 0; // in the module's file
        String module;
        String symbol; // mangled; see function()
        // The symbol in readable form, or "Unknown Function".
        String function() const;
    };

    // Reads a dump. False when the bytes do not begin with the dump's header; a record cut
    // short ends the reading, and what was read before stays.
    bool read(unsigned char const * data, std::size_t size);
    // The same for a file; raises what File raises.
    bool read(File const & file);

    // "SIGSEGV" and its kin, "uncaught exception" for signal 0, else "signal <n>".
    String signalName() const;

    int signal = 0;
    int code = 0;
    unsigned long long fault_address = 0;
    unsigned long long instruction = 0;
    unsigned int process = 0;
    unsigned int thread = 0;
    Time time;
    String thread_name;
    String exception;
    Buffer<Register> registers;
    Buffer<Frame> frames;
    String maps;
};

} // namespace QELTA
