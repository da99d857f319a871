// Diagnostics on Linux: TracerPid for the debugger, backtrace with dladdr, demangling, and file
// and line through libdw when the library was built with it.
#include "Base/Failure/Platform/DiagnosticsPlatform.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#if QELTA_HAVE_LIBDW
#include <elfutils/libdwfl.h>
#endif

namespace QELTA {
namespace {

constexpr int max_frames = 128;

// The demangled form of `symbol`, or the symbol itself when it is not a C++ name.
String Demangled(char const * symbol) {
    int status = 0;
    char * readable = abi::__cxa_demangle(symbol, nullptr, nullptr, &status);
    String result(status == 0 && readable != nullptr ? readable : symbol);
    std::free(readable);
    return result;
}

void AppendNumber(String & text, unsigned long long value, bool hexadecimal) {
    char digits[24];
    int const length = std::snprintf(digits, sizeof(digits), hexadecimal ? "0x%llx" : "%llu", value);
    text.append(StringView(digits, static_cast<unsigned int>(length)));
}

#if QELTA_HAVE_LIBDW
// A session of libdw over this process's modules; empty when it cannot be opened.
class SymbolReader {
  public:
    SymbolReader() {
        dwfl_ = dwfl_begin(&callbacks_);
        if (dwfl_ == nullptr) {
            return;
        }
        if (dwfl_linux_proc_report(dwfl_, getpid()) != 0 || dwfl_report_end(dwfl_, nullptr, nullptr) != 0) {
            dwfl_end(dwfl_);
            dwfl_ = nullptr;
        }
    }
    ~SymbolReader() {
        if (dwfl_ != nullptr) {
            dwfl_end(dwfl_);
        }
    }
    SymbolReader(SymbolReader const &) = delete;
    SymbolReader & operator=(SymbolReader const &) = delete;

    // Function, file and line of the code at `address`, as far as they are known.
    void describe(Dwarf_Addr address, char const *& function, char const *& file, int & line) const {
        if (dwfl_ == nullptr) {
            return;
        }
        Dwfl_Module * module = dwfl_addrmodule(dwfl_, address);
        if (module == nullptr) {
            return;
        }
        if (char const * name = dwfl_module_addrname(module, address); name != nullptr) {
            function = name;
        }
        if (Dwfl_Line * source = dwfl_module_getsrc(module, address); source != nullptr) {
            int column = 0;
            Dwarf_Addr line_address = 0;
            if (char const * path = dwfl_lineinfo(source, &line_address, &line, &column, nullptr, nullptr);
                path != nullptr) {
                file = path;
            }
        }
    }

  private:
    char * debuginfo_path_ = nullptr;
    Dwfl_Callbacks callbacks_ = {dwfl_linux_proc_find_elf, dwfl_standard_find_debuginfo, nullptr, &debuginfo_path_};
    Dwfl * dwfl_ = nullptr;
};
#endif

// Reads TracerPid from /proc/self/status.
bool ReadDebuggerAttached() noexcept {
    std::FILE * status = std::fopen("/proc/self/status", "re");
    if (status == nullptr) {
        return false;
    }
    char line[256];
    bool attached = false;
    while (std::fgets(line, sizeof(line), status) != nullptr) {
        if (std::strncmp(line, "TracerPid:", 10) == 0) {
            attached = std::strtol(line + 10, nullptr, 10) != 0;
            break;
        }
    }
    std::fclose(status);
    return attached;
}

} // namespace

// Every exception asks this when it is built: the answer is read from the system at most once
// a second, so that a burst of exceptions does not read /proc for each one.
bool DiagnosticsPlatform::IsDebuggerAttached() noexcept {
    static std::atomic<long long> s_checked_at{std::numeric_limits<long long>::min()};
    static std::atomic<bool> s_attached{false};
    long long const now =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count();
    long long const checked_at = s_checked_at.load(std::memory_order_acquire);
    if (checked_at == std::numeric_limits<long long>::min() || now - checked_at >= 1000) {
        s_attached.store(ReadDebuggerAttached(), std::memory_order_relaxed);
        s_checked_at.store(now, std::memory_order_release);
    }
    return s_attached.load(std::memory_order_relaxed);
}

void DiagnosticsPlatform::WriteToDebugger(StringView const & text) noexcept {
    if (text.isEmpty() || !IsDebuggerAttached()) {
        return;
    }
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

String DiagnosticsPlatform::CaptureStackTrace(unsigned int skip_frames) {
    void * frames[max_frames];
    int const count = backtrace(frames, max_frames);
#if QELTA_HAVE_LIBDW
    SymbolReader const symbols;
#endif
    // The frames up to this function's own belong to the capture (a sanitizer may add some).
    int first = 0;
    for (int i = 0; i < count; ++i) {
        Dl_info info{};
        if (dladdr(frames[i], &info) != 0 &&
            info.dli_saddr == reinterpret_cast<void *>(&DiagnosticsPlatform::CaptureStackTrace)) {
            first = i + 1;
            break;
        }
    }
    String trace;
    unsigned int number = 0;
    for (int i = first + static_cast<int>(skip_frames); i < count; ++i) {
        // A return address points behind the call: look up the byte before it.
        auto const address = reinterpret_cast<unsigned long long>(frames[i]) - 1;
        char const * function = nullptr;
        char const * file = nullptr;
        char const * module = nullptr;
        int line = 0;
        Dl_info info{};
        if (dladdr(frames[i], &info) != 0) {
            function = info.dli_sname;
            module = info.dli_fname;
        }
#if QELTA_HAVE_LIBDW
        symbols.describe(address, function, file, line);
#endif
        trace.append('#');
        AppendNumber(trace, number++, false);
        trace.append(' ');
        if (function != nullptr) {
            trace.append(Demangled(function));
        } else {
            AppendNumber(trace, address, true);
        }
        if (file != nullptr) {
            trace.append(StringView(" at "));
            trace.append(StringView(file));
            trace.append(':');
            AppendNumber(trace, static_cast<unsigned long long>(line), false);
        }
        if (module != nullptr) {
            trace.append(StringView(" in "));
            trace.append(StringView(module));
        }
        trace.append('\n');
    }
    return trace;
}

} // namespace QELTA
