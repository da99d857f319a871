// LocalApplicationLauncher: starts another program on this machine, waits for it, and streams its
// output into a log pipe line by line while it runs.
//
// A launcher owns the process it started until execute() ends: every process it starts is
// collected, either by execute() or, for one it doesn't wait for, in the background. execute()
// runs on the caller's thread and calls the log on that thread; killProcess() may be called from
// another thread while execute() waits. Starting fails with an Exception ("start_app_error", or a
// pipe failure); a program that ends with an error code is no failure.
#pragma once

#include "Base/Export.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <cstdint>
#include <functional>
#include <mutex>

namespace QELTA {

struct SpawnedProcess;

// `arguments` is a command line's tail: blanks separate the arguments, double quotes group them,
// and backslashes escape a double quote (SplitCommandLine). It reaches the program as those
// arguments, with no shell in between unless `use_shell` asks for one.
class QELTA_BASE_EXPORT LocalApplicationLauncher {
  public:
    // The level of lines of the standard error stream; those of standard output get level 0.
    static constexpr unsigned char error_level = 50;
    // How long execute() waits at most between looks at the log's cancel flag and input.
    static constexpr int poll_milliseconds = 100;
    // How long a process asked to end by killProcess() has before it is ended outright.
    static constexpr int kill_grace_milliseconds = 1000;
    // A line longer than this is sent in pieces of this size, so that output without line ends
    // can't fill the memory.
    static constexpr unsigned int max_line_bytes = 1u << 20;
    // The exit code while none is known.
    static constexpr int no_exit_code = -1;

    explicit LocalApplicationLauncher(StringView const & application);
    // Copies the settings; the copy has no process.
    LocalApplicationLauncher(LocalApplicationLauncher const & other);
    LocalApplicationLauncher & operator=(LocalApplicationLauncher const & other);
    // Ends a process that is still open.
    virtual ~LocalApplicationLauncher();

    // Starts the program. Blocks until it ends while `wait_for_exit` is set or `log` has a pipe.
    virtual void execute();

    bool isRunning() const noexcept { return running; }
    // Whether the program, its variables expanded, names a file that can be started, on the
    // search path too.
    bool applicationFileExists() const;
    // The windows of the process. This system gives no list of a process's windows: empty.
    Buffer<std::uint64_t> findWindowIDs();
    // Brings the windows of the process to the front; with none to be found, nothing happens.
    void bringToFront();
    // Asks the running process to end, and ends it outright when it hasn't within
    // kill_grace_milliseconds. Nothing happens without a process.
    void killProcess();

    // A launcher on the heap that deletes itself when execute() ends.
    static void CallApplication(StringView const & application, StringView const & arguments, bool wait_for_exit,
                                bool hide_window, LogPtr log);

    // The arguments of a command line's tail, by the rules above: a run of 2n backslashes before a
    // double quote gives n backslashes and the quote opens or closes a group; 2n + 1 give n and a
    // literal quote; backslashes elsewhere stand for themselves; "" inside a group is one quote.
    static Buffer<String> SplitCommandLine(StringView const & text);
    // The tail that SplitCommandLine reads back as exactly `arguments`.
    static String JoinCommandLine(Buffer<String> const & arguments);

    String application;
    String arguments;
    // A folder added to the end of the child's PATH; empty for none.
    String path_addition;
    LogPtr log;
    // Nothing to hide on this system: the program's windows are its own business.
    bool hide_window = false;
    bool wait_for_exit = true;
    // Lets the child inherit this process's descriptors that are not marked close-on-exec.
    bool inherit_handles = false;
    std::function<void()> on_finished;
    // The unfinished last line of each stream while the program runs; empty once execute() ends.
    String standard_output;
    String standard_error;
    long long process_id = -1;
    bool running = false;
    // Runs "/bin/sh -c" on the program and the arguments, for callers that want the shell's rules.
    bool use_shell = false;
    // How the last waited-for process ended: its exit code, 128 + the signal that ended it, or
    // no_exit_code.
    int exit_code = no_exit_code;

  private:
    void stream(SpawnedProcess & child, String const & command_line);
    void finish();

    // The handle of the running process (-1 for none), under process_mutex_.
    int process_ = -1;
    std::mutex process_mutex_;
};

} // namespace QELTA
