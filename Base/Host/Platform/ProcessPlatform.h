// ProcessPlatform: the named operations on other processes and on this one that the launcher and
// the application's lifecycle are built on.
//
// A started process is a plain record of numbers: its id, a handle that names it for as long as
// it is open (it never names another process, even after the id is reused), and the parent's ends
// of its standard streams. Every descriptor is opened close-on-exec, so that no other child
// inherits it. The caller owns the record and must end it through Reap or ReapInBackground, which
// leave no zombie behind. Everything is thread-safe as the system calls behind it are; nothing
// raises: failures are error numbers (0 for success) or the documented value.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

// What to start. Paths are in the library's form (backslash separators).
struct SpawnRequest {
    String program;
    // Every argument, the first one the program's name as it should see it; passed unchanged.
    Buffer<String> arguments;
    // The folder to start in; empty for the caller's.
    String working_folder;
    // A folder added to the end of the PATH of the child, which otherwise inherits the caller's
    // environment; empty for none.
    String path_addition;
    // Pipes on the child's standard input, output and error; without them it shares the caller's.
    bool redirect = false;
    // Lets the child inherit the caller's descriptors that are not close-on-exec; off, every
    // descriptor above standard error is closed in the child.
    bool inherit_descriptors = false;
};

// A started process. -1 marks what is absent.
struct SpawnedProcess {
    long long id = -1;
    int handle = -1;
    int input = -1;  // the parent's writing end
    int output = -1; // the parent's reading ends
    int error = -1;
};

// What one wait saw.
struct ProcessEvents {
    bool exited = false;
    bool output_ready = false; // data or the end of the stream
    bool error_ready = false;
};

class QELTA_BASE_EXPORT ProcessPlatform {
  public:
    ProcessPlatform() = delete;

    // Spawn failed before the program could start: the pipes could not be made.
    static constexpr int pipe_failure = -1;
    // A read that reached the end of the stream.
    static constexpr long long end_of_stream = -1;
    // What Reap gives for a process ended by a signal: this plus the signal's number.
    static constexpr int signal_exit_base = 128;

    // Starts the program (searched on the PATH when it has no separator). 0 on success with `out`
    // filled; pipe_failure when the pipes can't be made; else the system's error number.
    static int Spawn(SpawnRequest const & request, SpawnedProcess & out);
    // Waits up to `milliseconds` for the process to end or its output to become readable.
    static ProcessEvents Wait(SpawnedProcess const & process, int milliseconds) noexcept;
    // Whether the process ended within `milliseconds` (0: a look without waiting).
    static bool WaitForExit(int handle, int milliseconds) noexcept;
    // Reads what the stream holds without blocking, appending to `out`, at most `limit` bytes.
    // The count read (0 when nothing is waiting), or end_of_stream.
    static long long ReadAvailable(int descriptor, String & out, unsigned long long limit) noexcept;
    // Writes what fits without blocking; the count written, 0 when the reader is gone or full.
    static unsigned int WriteAvailable(int descriptor, StringView const & text) noexcept;
    // Closes a descriptor of the record and marks it absent.
    static void Close(int & descriptor) noexcept;
    // Asks the process to end; with `force`, ends it outright. False when the handle is closed.
    static bool Signal(int handle, bool force) noexcept;
    // Waits for the ended process, closes every descriptor of the record and gives its exit code
    // (signal_exit_base + signal for a process ended by a signal); -1 when it can't be told.
    static int Reap(SpawnedProcess & process) noexcept;
    // Closes the record's descriptors and collects the process on a thread of its own whenever it
    // ends, so that it runs on independently and leaves no zombie.
    static void ReapInBackground(SpawnedProcess & process);

    // Whether `program` names a file that could be started: as a path, or found on the PATH
    // when it has no separator. The path found, in the library's form, goes to `path`.
    static bool FindProgram(StringView const & program, String & path);
    // The user's login name; empty when the system has none for this user.
    static String UserName();
    // The processors this process may run on.
    static unsigned int ProcessorCount() noexcept;
    // Ends this process at once with `code`: no destructors, no exit handlers, streams unflushed.
    [[noreturn]] static void EndProcessNow(int code) noexcept;

    // Takes the machine-wide lock `name` for the rest of this process, as a lock on a file in the
    // user's runtime folder (else the temporary folder). True when this process holds it; false
    // when another live process does. The system drops it when its holder ends, however it ends.
    static bool TakeInstanceLock(StringView const & name);
    // Lets go of every lock TakeInstanceLock holds.
    static void ReleaseInstanceLocks() noexcept;

    // Opens a file or an address with the desktop's default handler, without waiting; false when
    // no handler could be started.
    static bool OpenWithDefaultHandler(StringView const & target);
    // Shows the file selected in the desktop's file manager when it offers that, else opens its
    // folder; false when neither could be started.
    static bool ShowInFileManager(StringView const & file);
};

} // namespace QELTA
