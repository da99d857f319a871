// Processes on Linux: posix_spawn with pipes, pidfd_open and poll, waitpid, flock, xdg-open and
// the desktop's file manager over D-Bus.
#include "Base/Host/Platform/ProcessPlatform.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <pwd.h>
#include <sched.h>
#include <spawn.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char ** environ;

namespace QELTA {
namespace {

constexpr char path_variable[] = "PATH";
constexpr char default_search_path[] = "/usr/local/bin:/usr/bin:/bin";
constexpr char runtime_folder_variable[] = "XDG_RUNTIME_DIR";
constexpr char temporary_folder_variable[] = "TMPDIR";
constexpr char default_temporary_folder[] = "/tmp";
constexpr char lock_ending[] = ".lock";
constexpr char open_program[] = "xdg-open";
constexpr char bus_program[] = "dbus-send";
constexpr char const * show_items_arguments[] = {
    "--session",
    "--print-reply",
    "--reply-timeout=2000",
    "--dest=org.freedesktop.FileManager1",
    "/org/freedesktop/FileManager1",
    "org.freedesktop.FileManager1.ShowItems",
};
constexpr char show_items_startup_id[] = "string:";
constexpr char file_uri_array[] = "array:string:file://";
constexpr std::size_t read_chunk = 1 << 16;

std::string ToSystem(StringView const & path) {
    std::string out(path.data() == nullptr ? "" : path.data(), path.size());
    std::replace(out.begin(), out.end(), '\\', '/');
    return out;
}

String FromSystem(std::string text) {
    std::replace(text.begin(), text.end(), '/', '\\');
    return String(text);
}

std::string Text(String const & text) {
    return std::string(text.data() == nullptr ? "" : text.data(), text.size());
}

int OpenProcessHandle(pid_t pid) noexcept {
#ifdef SYS_pidfd_open
    return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
#else
    (void)pid;
    return -1;
#endif
}

bool SetNonBlocking(int descriptor) noexcept {
    int const flags = fcntl(descriptor, F_GETFL);
    return flags >= 0 && fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) == 0;
}

void CloseQuietly(int & descriptor) noexcept {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

// The parent's and the child's ends of the three standard streams.
struct Pipes {
    int ends[3][2] = {{-1, -1}, {-1, -1}, {-1, -1}};

    ~Pipes() {
        for (auto & pair : ends) {
            CloseQuietly(pair[0]);
            CloseQuietly(pair[1]);
        }
    }
    bool make() noexcept {
        for (auto & pair : ends) {
            if (pipe2(pair, O_CLOEXEC) != 0) {
                return false;
            }
        }
        return SetNonBlocking(ends[0][1]) && SetNonBlocking(ends[1][0]) && SetNonBlocking(ends[2][0]);
    }
};

// Whether the process has ended, without collecting it.
bool HasEnded(pid_t pid) noexcept {
    siginfo_t info{};
    int result = 0;
    do {
        result = waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT);
    } while (result != 0 && errno == EINTR);
    return result != 0 || info.si_pid == pid;
}

bool IsStartable(std::string const & path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

std::string FileURI(std::string const & path) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char const c : path) {
        if (std::isalnum(c) != 0 || c == '/' || c == '-' || c == '_' || c == '.' || c == '~') {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    return out;
}

// Starts `program` with `arguments`. With `wait`, its output is read and dropped and its exit
// code given; without, 0 once it runs. -1 when it could not be started.
int RunHelper(char const * program, std::vector<std::string> const & arguments, bool wait) {
    SpawnRequest request;
    request.program = program;
    request.arguments.add(String(program));
    for (std::string const & argument : arguments) {
        request.arguments.add(String(argument));
    }
    request.redirect = wait;
    SpawnedProcess process;
    if (ProcessPlatform::Spawn(request, process) != 0) {
        return -1;
    }
    if (!wait) {
        ProcessPlatform::ReapInBackground(process);
        return 0;
    }
    ProcessPlatform::Close(process.input);
    String dropped;
    while (process.output >= 0 || process.error >= 0) {
        ProcessPlatform::Wait(process, 100);
        for (int * stream : {&process.output, &process.error}) {
            dropped = String();
            if (ProcessPlatform::ReadAvailable(*stream, dropped, read_chunk) == ProcessPlatform::end_of_stream) {
                ProcessPlatform::Close(*stream);
            }
        }
    }
    return ProcessPlatform::Reap(process);
}

struct InstanceLocks {
    std::mutex mutex;
    std::vector<int> descriptors;
};

// Never freed: a lock must last until the process ends, past every destructor.
InstanceLocks & TheInstanceLocks() {
    static auto * s_locks = new InstanceLocks();
    return *s_locks;
}

std::string LockFolder() {
    struct stat status {};
    char const * runtime = std::getenv(runtime_folder_variable);
    if (runtime != nullptr && *runtime != '\0' && stat(runtime, &status) == 0 && S_ISDIR(status.st_mode)) {
        return runtime;
    }
    char const * temporary = std::getenv(temporary_folder_variable);
    return temporary != nullptr && *temporary != '\0' ? temporary : default_temporary_folder;
}

} // namespace

int ProcessPlatform::Spawn(SpawnRequest const & request, SpawnedProcess & out) {
    out = SpawnedProcess();
    Pipes pipes;
    if (request.redirect && !pipes.make()) {
        return pipe_failure;
    }
    std::string const program = ToSystem(request.program.view());
    std::vector<std::string> arguments;
    for (String const & argument : request.arguments) {
        arguments.push_back(Text(argument));
    }
    if (arguments.empty()) {
        arguments.push_back(program);
    }
    std::vector<char *> argv;
    for (std::string & argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    std::vector<std::string> environment;
    std::vector<char *> envp;
    if (!request.path_addition.isEmpty()) {
        std::string const path_entry = std::string(path_variable) + '=';
        bool has_path = false;
        for (char ** entry = environ; *entry != nullptr; ++entry) {
            environment.emplace_back(*entry);
            if (environment.back().compare(0, path_entry.size(), path_entry) == 0) {
                environment.back() += ':' + ToSystem(request.path_addition.view());
                has_path = true;
            }
        }
        if (!has_path) {
            environment.push_back(path_entry + ToSystem(request.path_addition.view()));
        }
        for (std::string & entry : environment) {
            envp.push_back(entry.data());
        }
        envp.push_back(nullptr);
    }

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    if (request.redirect) {
        posix_spawn_file_actions_adddup2(&actions, pipes.ends[0][0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, pipes.ends[1][1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, pipes.ends[2][1], STDERR_FILENO);
    }
    if (!request.inherit_descriptors) {
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    }
    std::string const folder = ToSystem(request.working_folder.view());
    if (!folder.empty()) {
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    }
    // The child begins with no signal blocked and every signal at its default, whatever ours are.
    sigset_t none;
    sigset_t defaults;
    sigemptyset(&none);
    sigfillset(&defaults);
    sigdelset(&defaults, SIGKILL);
    sigdelset(&defaults, SIGSTOP);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    bool const search = program.find('/') == std::string::npos;
    char * const * const env = envp.empty() ? environ : envp.data();
    pid_t pid = -1;
    int const result = search ? posix_spawnp(&pid, program.c_str(), &actions, &attributes, argv.data(), env)
                              : posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), env);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (result != 0) {
        return result;
    }
    out.id = pid;
    out.handle = OpenProcessHandle(pid);
    if (request.redirect) {
        out.input = pipes.ends[0][1];
        out.output = pipes.ends[1][0];
        out.error = pipes.ends[2][0];
        pipes.ends[0][1] = pipes.ends[1][0] = pipes.ends[2][0] = -1;
    }
    return 0;
}

ProcessEvents ProcessPlatform::Wait(SpawnedProcess const & process, int milliseconds) noexcept {
    ProcessEvents events;
    pollfd watched[3] = {{process.handle, POLLIN, 0}, {process.output, POLLIN, 0}, {process.error, POLLIN, 0}};
    int const result = poll(watched, 3, process.handle < 0 && milliseconds > 10 ? 10 : milliseconds);
    if (result > 0) {
        events.exited = watched[0].revents != 0;
        events.output_ready = watched[1].revents != 0;
        events.error_ready = watched[2].revents != 0;
    }
    if (process.handle < 0 && process.id > 0) {
        events.exited = HasEnded(static_cast<pid_t>(process.id));
    }
    return events;
}

bool ProcessPlatform::WaitForExit(int handle, int milliseconds) noexcept {
    if (handle < 0) {
        return false;
    }
    pollfd watched{handle, POLLIN, 0};
    int result = 0;
    do {
        result = poll(&watched, 1, milliseconds);
    } while (result < 0 && errno == EINTR);
    return result > 0;
}

long long ProcessPlatform::ReadAvailable(int descriptor, String & out, unsigned long long limit) noexcept {
    if (descriptor < 0) {
        return end_of_stream;
    }
    char buffer[read_chunk];
    unsigned long long total = 0;
    while (total < limit) {
        std::size_t const wanted =
            static_cast<std::size_t>(std::min<unsigned long long>(sizeof(buffer), limit - total));
        ssize_t const count = read(descriptor, buffer, wanted);
        if (count > 0) {
            out.append(buffer, static_cast<unsigned int>(count));
            total += static_cast<unsigned long long>(count);
            continue;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count == 0 || errno != EAGAIN) {
            return total == 0 ? end_of_stream : static_cast<long long>(total);
        }
        break;
    }
    return static_cast<long long>(total);
}

unsigned int ProcessPlatform::WriteAvailable(int descriptor, StringView const & text) noexcept {
    if (descriptor < 0 || text.size() == 0) {
        return 0;
    }
    // A reader that is gone must not end this process with SIGPIPE: the signal is blocked for the
    // write, and one it raised is taken off the thread before the mask is restored.
    sigset_t pipe_signal;
    sigset_t previous;
    sigemptyset(&pipe_signal);
    sigaddset(&pipe_signal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_signal, &previous);
    ssize_t count = 0;
    do {
        count = write(descriptor, text.data(), text.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0 && errno == EPIPE) {
        timespec const no_wait{0, 0};
        while (sigtimedwait(&pipe_signal, nullptr, &no_wait) < 0 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    return count > 0 ? static_cast<unsigned int>(count) : 0;
}

void ProcessPlatform::Close(int & descriptor) noexcept {
    CloseQuietly(descriptor);
}

bool ProcessPlatform::Signal(int handle, bool force) noexcept {
#ifdef SYS_pidfd_send_signal
    return handle >= 0 && syscall(SYS_pidfd_send_signal, handle, force ? SIGKILL : SIGTERM, nullptr, 0) == 0;
#else
    (void)handle;
    (void)force;
    return false;
#endif
}

int ProcessPlatform::Reap(SpawnedProcess & process) noexcept {
    CloseQuietly(process.input);
    CloseQuietly(process.output);
    CloseQuietly(process.error);
    int code = -1;
    if (process.id > 0) {
        int status = 0;
        pid_t result = 0;
        do {
            result = waitpid(static_cast<pid_t>(process.id), &status, 0);
        } while (result < 0 && errno == EINTR);
        if (result > 0) {
            code = WIFEXITED(status)     ? WEXITSTATUS(status)
                   : WIFSIGNALED(status) ? signal_exit_base + WTERMSIG(status)
                                         : -1;
        }
    }
    CloseQuietly(process.handle);
    process.id = -1;
    return code;
}

void ProcessPlatform::ReapInBackground(SpawnedProcess & process) {
    CloseQuietly(process.input);
    CloseQuietly(process.output);
    CloseQuietly(process.error);
    CloseQuietly(process.handle);
    if (process.id > 0) {
        pid_t const pid = static_cast<pid_t>(process.id);
        std::thread([pid] {
            int status = 0;
            while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
        }).detach();
    }
    process.id = -1;
}

bool ProcessPlatform::FindProgram(StringView const & program, String & path) {
    std::string const name = ToSystem(program);
    if (name.empty() || name.find('\0') != std::string::npos) {
        return false;
    }
    if (name.find('/') != std::string::npos) {
        if (IsStartable(name)) {
            path = FromSystem(name);
            return true;
        }
        return false;
    }
    char const * search = std::getenv(path_variable);
    std::string const folders = search != nullptr ? search : default_search_path;
    std::size_t start = 0;
    while (start <= folders.size()) {
        std::size_t end = folders.find(':', start);
        if (end == std::string::npos) {
            end = folders.size();
        }
        std::string folder = folders.substr(start, end - start);
        if (folder.empty()) {
            folder = ".";
        }
        std::string const candidate = folder + '/' + name;
        if (IsStartable(candidate)) {
            path = FromSystem(candidate);
            return true;
        }
        start = end + 1;
    }
    return false;
}

String ProcessPlatform::UserName() {
    passwd entry{};
    passwd * found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_name != nullptr) {
        return String(found->pw_name);
    }
    char const * user = std::getenv("USER");
    return String(user != nullptr ? user : "");
}

unsigned int ProcessPlatform::ProcessorCount() noexcept {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) == 0) {
        int const count = CPU_COUNT(&set);
        if (count > 0) {
            return static_cast<unsigned int>(count);
        }
    }
    long const online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? static_cast<unsigned int>(online) : 1u;
}

void ProcessPlatform::EndProcessNow(int code) noexcept {
    _exit(code);
}

bool ProcessPlatform::TakeInstanceLock(StringView const & name) {
    std::string file_name(name.data() == nullptr ? "" : name.data(), name.size());
    // The name becomes one file name: no folder of its own, no zero byte.
    std::replace(file_name.begin(), file_name.end(), '/', '_');
    std::replace(file_name.begin(), file_name.end(), '\\', '_');
    std::replace(file_name.begin(), file_name.end(), '\0', '_');
    std::string const path = LockFolder() + '/' + file_name + lock_ending;
    int const descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        return false;
    }
    int result = 0;
    do {
        result = flock(descriptor, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        close(descriptor);
        return false;
    }
    InstanceLocks & locks = TheInstanceLocks();
    std::lock_guard<std::mutex> guard(locks.mutex);
    locks.descriptors.push_back(descriptor);
    return true;
}

void ProcessPlatform::ReleaseInstanceLocks() noexcept {
    InstanceLocks & locks = TheInstanceLocks();
    std::lock_guard<std::mutex> guard(locks.mutex);
    for (int & descriptor : locks.descriptors) {
        CloseQuietly(descriptor);
    }
    locks.descriptors.clear();
}

bool ProcessPlatform::OpenWithDefaultHandler(StringView const & target) {
    std::string text(target.data() == nullptr ? "" : target.data(), target.size());
    return RunHelper(open_program, {text}, false) == 0;
}

bool ProcessPlatform::ShowInFileManager(StringView const & file) {
    std::string const path = ToSystem(file);
    String found;
    if (FindProgram(StringView(bus_program), found)) {
        std::vector<std::string> arguments(std::begin(show_items_arguments), std::end(show_items_arguments));
        arguments.push_back(std::string(file_uri_array) + FileURI(path));
        arguments.push_back(show_items_startup_id);
        if (RunHelper(bus_program, arguments, true) == 0) {
            return true;
        }
    }
    std::string const folder =
        path.substr(0, path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/') + 1);
    return RunHelper(open_program, {folder.empty() ? std::string(".") : folder}, false) == 0;
}

} // namespace QELTA
