// Crash handling on Linux: sigaction on an alternate stack and a terminate handler; the stack
// walked by frame pointers with every read checked by process_vm_readv; modules from a copy of
// /proc/self/maps and symbols from their ELF symbol tables read with pread; the dump written with
// open and write. Everything a handler runs is async-signal-safe and works on static buffers.
#include "Base/Failure/Platform/CrashPlatform.h"

#include "Base/Failure/Internal/DumpLayout.h"
#include "Base/Failure/Internal/SafeText.h"

#include <cxxabi.h>
#include <elf.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <typeinfo>

namespace QELTA {
namespace {

namespace Layout = Internal::DumpLayout;
template <std::size_t N>
using SafeText = Internal::SafeText<N>;

constexpr int fault_signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr char const * fault_names[] = {"SIGSEGV", "SIGBUS", "SIGFPE", "SIGILL", "SIGABRT"};
constexpr int signal_count = sizeof(fault_signals) / sizeof(fault_signals[0]);
constexpr std::size_t alternate_stack_size = 64 * 1024;
// How long a second faulting thread waits for the first to finish, in steps of 10 ms.
constexpr int wait_steps = 3000;
// The largest distance between two frames of one stack that the walk believes.
constexpr unsigned long long max_frame_distance = 16ull * 1024 * 1024;
constexpr unsigned int max_program_headers = 64;
constexpr unsigned int max_sections = 512;
constexpr unsigned int symbols_per_read = 256;

enum State : int { IDLE = 0, HANDLING = 1, DONE = 2 };

struct sigaction s_previous[signal_count];
std::atomic<CrashPlatform::Handler> s_handler{nullptr};
std::atomic<int> s_state{IDLE};
std::atomic<bool> s_installed{false};
std::terminate_handler s_previous_terminate = nullptr;
long s_utc_offset = 0; // seconds east of UTC when installed
alignas(16) char s_alternate_stack[alternate_stack_size];

// The buffers of the one fault being handled.
ucontext_t s_captured;
char s_maps[1 << 20];
std::size_t s_maps_size = 0;
Elf64_Phdr s_program_headers[max_program_headers];
Elf64_Shdr s_sections[max_sections];
Elf64_Sym s_symbols[symbols_per_read];
SafeText<2048> s_exception;

int SignalIndex(int signal) noexcept {
    for (int i = 0; i < signal_count; ++i) {
        if (fault_signals[i] == signal) {
            return i;
        }
    }
    return -1;
}

bool WriteAll(int descriptor, void const * data, std::size_t size) noexcept {
    auto const * bytes = static_cast<char const *>(data);
    while (size > 0) {
        ssize_t const written = write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool ReadAt(int descriptor, void * data, std::size_t size, unsigned long long offset) noexcept {
    auto * bytes = static_cast<char *>(data);
    while (size > 0) {
        ssize_t const got = pread(descriptor, bytes, size, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        bytes += got;
        size -= static_cast<std::size_t>(got);
        offset += static_cast<unsigned long long>(got);
    }
    return true;
}

// Copies `size` bytes from `address` of this process, or answers false where nothing is mapped.
bool SafeRead(unsigned long long address, void * out, std::size_t size) noexcept {
    iovec local{out, size};
    iovec remote{reinterpret_cast<void *>(address), size};
    return process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(size);
}

void ReadMaps() noexcept {
    s_maps_size = 0;
    int const descriptor = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return;
    }
    while (s_maps_size < sizeof(s_maps)) {
        ssize_t const got = read(descriptor, s_maps + s_maps_size, sizeof(s_maps) - s_maps_size);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        s_maps_size += static_cast<std::size_t>(got);
    }
    close(descriptor);
}

// Reads hexadecimal digits at `at`, moving it behind them.
unsigned long long ParseHex(char const *& at, char const * end) noexcept {
    unsigned long long value = 0;
    for (; at < end; ++at) {
        char const c = *at;
        unsigned int digit = 0;
        if (c >= '0' && c <= '9') {
            digit = static_cast<unsigned int>(c - '0');
        } else if (c >= 'a' && c <= 'f') {
            digit = static_cast<unsigned int>(c - 'a' + 10);
        } else {
            break;
        }
        value = value << 4 | digit;
    }
    return value;
}

void SkipField(char const *& at, char const * end) noexcept {
    while (at < end && *at != ' ') {
        ++at;
    }
    while (at < end && *at == ' ') {
        ++at;
    }
}

// The mapping of `address` in the copy of the maps: its start, its offset in the file and the
// file's path (not zero-terminated). False when no line holds the address.
bool FindMapping(unsigned long long address, unsigned long long & start, unsigned long long & file_offset,
                 char const *& path, std::size_t & path_size) noexcept {
    char const * line = s_maps;
    char const * const end = s_maps + s_maps_size;
    while (line < end) {
        char const * line_end = line;
        while (line_end < end && *line_end != '\n') {
            ++line_end;
        }
        char const * at = line;
        unsigned long long const low = ParseHex(at, line_end);
        if (at < line_end && *at == '-') {
            ++at;
            unsigned long long const high = ParseHex(at, line_end);
            if (address >= low && address < high) {
                SkipField(at, line_end); // behind the range
                SkipField(at, line_end); // behind the permissions
                file_offset = ParseHex(at, line_end);
                SkipField(at, line_end); // behind the offset
                SkipField(at, line_end); // behind the device
                SkipField(at, line_end); // behind the inode
                start = low;
                path = at;
                path_size = static_cast<std::size_t>(line_end - at);
                return true;
            }
        }
        line = line_end + 1;
    }
    return false;
}

// The name of the function whose code holds `file_offset` in the ELF file `path`, from its
// symbol table, or its dynamic symbol table when it has none.
void FindSymbol(char const * path, unsigned long long file_offset, char * out, std::size_t capacity) noexcept {
    int const descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return;
    }
    Elf64_Ehdr header;
    bool ok = ReadAt(descriptor, &header, sizeof(header), 0) && std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
              header.e_ident[EI_CLASS] == ELFCLASS64 && header.e_phentsize == sizeof(Elf64_Phdr) &&
              header.e_shentsize == sizeof(Elf64_Shdr) && header.e_phnum <= max_program_headers &&
              header.e_shnum <= max_sections &&
              ReadAt(descriptor, s_program_headers, header.e_phnum * sizeof(Elf64_Phdr), header.e_phoff) &&
              ReadAt(descriptor, s_sections, header.e_shnum * sizeof(Elf64_Shdr), header.e_shoff);
    unsigned long long address = 0;
    bool mapped = false;
    for (unsigned int i = 0; ok && i < header.e_phnum && !mapped; ++i) {
        Elf64_Phdr const & segment = s_program_headers[i];
        if (segment.p_type == PT_LOAD && file_offset >= segment.p_offset &&
            file_offset - segment.p_offset < segment.p_filesz) {
            address = file_offset - segment.p_offset + segment.p_vaddr;
            mapped = true;
        }
    }
    int table = -1;
    for (unsigned int i = 0; mapped && i < header.e_shnum; ++i) {
        if (s_sections[i].sh_type == SHT_SYMTAB || (table < 0 && s_sections[i].sh_type == SHT_DYNSYM)) {
            table = static_cast<int>(i);
        }
    }
    if (table >= 0 && s_sections[table].sh_link < header.e_shnum) {
        Elf64_Shdr const & symbols = s_sections[table];
        Elf64_Shdr const & names = s_sections[symbols.sh_link];
        unsigned long long const count = symbols.sh_size / sizeof(Elf64_Sym);
        bool found = false;
        for (unsigned long long first = 0; first < count && !found; first += symbols_per_read) {
            unsigned long long const chunk = count - first < symbols_per_read ? count - first : symbols_per_read;
            if (!ReadAt(descriptor, s_symbols, chunk * sizeof(Elf64_Sym),
                        symbols.sh_offset + first * sizeof(Elf64_Sym))) {
                break;
            }
            for (unsigned long long i = 0; i < chunk; ++i) {
                Elf64_Sym const & symbol = s_symbols[i];
                unsigned char const type = ELF64_ST_TYPE(symbol.st_info);
                if ((type == STT_FUNC || type == STT_GNU_IFUNC) && symbol.st_shndx != SHN_UNDEF &&
                    address >= symbol.st_value && address - symbol.st_value < symbol.st_size &&
                    symbol.st_name < names.sh_size) {
                    unsigned long long const room = names.sh_size - symbol.st_name;
                    std::size_t const size = room < capacity - 1 ? static_cast<std::size_t>(room) : capacity - 1;
                    if (pread(descriptor, out, size, static_cast<off_t>(names.sh_offset + symbol.st_name)) > 0) {
                        out[size] = 0;
                        found = true;
                    }
                    break;
                }
            }
        }
    }
    close(descriptor);
}

void Describe(unsigned long long address, unsigned long long lookup, CrashFrame & frame) noexcept {
    frame.address = address;
    unsigned long long start = 0;
    unsigned long long file_offset = 0;
    char const * path = nullptr;
    std::size_t path_size = 0;
    if (!FindMapping(lookup, start, file_offset, path, path_size)) {
        return;
    }
    unsigned long long const lookup_offset = lookup - start + file_offset;
    frame.offset = lookup_offset + (address - lookup);
    std::size_t const size = path_size < sizeof(frame.module) - 1 ? path_size : sizeof(frame.module) - 1;
    std::memcpy(frame.module, path, size);
    frame.module[size] = 0;
    if (frame.module[0] == '/') {
        FindSymbol(frame.module, lookup_offset, frame.symbol, sizeof(frame.symbol));
    }
}

// The instruction and frame pointers of a processor state.
void ProgramCounters(ucontext_t const & context, unsigned long long & instruction,
                     unsigned long long & frame) noexcept {
#if defined(__x86_64__)
    instruction = static_cast<unsigned long long>(context.uc_mcontext.gregs[REG_RIP]);
    frame = static_cast<unsigned long long>(context.uc_mcontext.gregs[REG_RBP]);
#elif defined(__aarch64__)
    instruction = context.uc_mcontext.pc;
    frame = context.uc_mcontext.regs[29];
#else
    instruction = 0;
    frame = 0;
#endif
}

// Appends the registers as entries of an 8-byte name and a 64-bit value.
template <std::size_t N>
void AppendRegisters(ucontext_t const & context, SafeText<N> & out) noexcept {
    auto const add = [&out](char const * name, unsigned long long value) {
        char field[Layout::register_name] = {};
        for (std::size_t i = 0; i < sizeof(field) && name[i] != 0; ++i) {
            field[i] = name[i];
        }
        out.append(field, sizeof(field));
        out.append(reinterpret_cast<char const *>(&value), sizeof(value));
    };
#if defined(__x86_64__)
    static constexpr char const * names[] = {"rip", "rsp", "rbp", "rax", "rbx", "rcx", "rdx", "rsi", "rdi",
                                             "r8",  "r9",  "r10", "r11", "r12", "r13", "r14", "r15", "eflags"};
    static constexpr int indices[] = {REG_RIP, REG_RSP, REG_RBP, REG_RAX, REG_RBX, REG_RCX, REG_RDX, REG_RSI, REG_RDI,
                                      REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15, REG_EFL};
    for (std::size_t i = 0; i < sizeof(indices) / sizeof(indices[0]); ++i) {
        add(names[i], static_cast<unsigned long long>(context.uc_mcontext.gregs[indices[i]]));
    }
#elif defined(__aarch64__)
    add("pc", context.uc_mcontext.pc);
    add("sp", context.uc_mcontext.sp);
    static constexpr char const * names[] = {
        "x0",  "x1",  "x2",  "x3",  "x4",  "x5",  "x6",  "x7",  "x8",  "x9",  "x10", "x11", "x12", "x13", "x14", "x15",
        "x16", "x17", "x18", "x19", "x20", "x21", "x22", "x23", "x24", "x25", "x26", "x27", "x28", "x29", "x30"};
    for (int i = 0; i < 31; ++i) {
        add(names[i], context.uc_mcontext.regs[i]);
    }
#else
    (void)context;
    (void)add;
#endif
}

void PassOn(int signal, siginfo_t * info, void * context) noexcept {
    int const index = SignalIndex(signal);
    if (index < 0) {
        return;
    }
    struct sigaction const previous = s_previous[index];
    sigaction(signal, &previous, nullptr);
    if ((previous.sa_flags & SA_SIGINFO) != 0 && previous.sa_sigaction != nullptr) {
        previous.sa_sigaction(signal, info, context);
        return;
    }
    if ((previous.sa_flags & SA_SIGINFO) == 0 && previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
        previous.sa_handler(signal);
        return;
    }
    // Blocked while this handler runs, the signal is delivered again on return, with the
    // system's own action: the process ends with it, leaving its core dump.
    raise(signal);
}

// Runs the handler for the first fault of the process; a later one waits for it.
void HandleOnce(CrashFault const & fault) noexcept {
    int expected = IDLE;
    if (s_state.compare_exchange_strong(expected, HANDLING)) {
        if (CrashPlatform::Handler const handler = s_handler.load()) {
            handler(fault);
        }
        s_state.store(DONE);
        return;
    }
    timespec const pause{0, 10 * 1000 * 1000};
    for (int step = 0; step < wait_steps && s_state.load() == HANDLING; ++step) {
        nanosleep(&pause, nullptr);
    }
}

void OnSignal(int signal, siginfo_t * info, void * context) {
    int const saved_errno = errno;
    CrashFault fault;
    fault.signal = signal;
    fault.code = info != nullptr ? info->si_code : 0;
    fault.address = info != nullptr ? reinterpret_cast<unsigned long long>(info->si_addr) : 0;
    fault.context = context;
    HandleOnce(fault);
    errno = saved_errno;
    PassOn(signal, info, context);
}

void OnTerminate() {
    if (s_state.load() == IDLE) {
        s_exception.clear();
        if (std::exception_ptr const current = std::current_exception()) {
            try {
                std::rethrow_exception(current);
            } catch (std::exception const & error) {
                String const type = CrashPlatform::Demangle(StringView(typeid(error).name()));
                s_exception.append(type.c_str()).append(": ").append(error.what());
            } catch (...) {
                s_exception.append("an exception of unknown type");
            }
        }
        CrashFault fault;
        fault.exception = s_exception.size() != 0 ? s_exception.data() : nullptr;
        HandleOnce(fault);
    }
    if (s_previous_terminate != nullptr) {
        s_previous_terminate();
    }
    std::abort();
}

// Local civil time of `seconds` since 1970 UTC, as "YYYY_MM_DD_HH_mm_ss".
template <std::size_t N>
void AppendTimeName(long long seconds, SafeText<N> & out) noexcept {
    long long const days = seconds >= 0 ? seconds / 86400 : (seconds - 86399) / 86400;
    long long const second_of_day = seconds - days * 86400;
    // Civil date from days since 1970-01-01, after H. Hinnant's days_from_civil inverse.
    long long const z = days + 719468;
    long long const era = (z >= 0 ? z : z - 146096) / 146097;
    long long const doe = z - era * 146097;
    long long const yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    long long const doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    long long const mp = (5 * doy + 2) / 153;
    long long const day = doy - (153 * mp + 2) / 5 + 1;
    long long const month = mp < 10 ? mp + 3 : mp - 9;
    long long const year = yoe + era * 400 + (month <= 2 ? 1 : 0);
    out.appendDecimal(static_cast<unsigned long long>(year), 4).append('_');
    out.appendDecimal(static_cast<unsigned long long>(month), 2).append('_');
    out.appendDecimal(static_cast<unsigned long long>(day), 2).append('_');
    out.appendDecimal(static_cast<unsigned long long>(second_of_day / 3600), 2).append('_');
    out.appendDecimal(static_cast<unsigned long long>(second_of_day / 60 % 60), 2).append('_');
    out.appendDecimal(static_cast<unsigned long long>(second_of_day % 60), 2);
}

// Makes the folder and its missing parents; `path` is a system path without a final '/'.
void MakeFolders(char * path, std::size_t size) noexcept {
    for (std::size_t i = 1; i <= size; ++i) {
        if (i == size || path[i] == '/') {
            char const kept = path[i];
            path[i] = 0;
            mkdir(path, 0755);
            path[i] = kept;
        }
    }
}

template <class T>
void AppendValue(T const & value, SafeText<64> & out) noexcept {
    out.append(reinterpret_cast<char const *>(&value), sizeof(value));
}

bool WriteRecord(int descriptor, unsigned int kind, void const * payload, std::size_t size) noexcept {
    unsigned int const head[2] = {kind, static_cast<unsigned int>(size)};
    return WriteAll(descriptor, head, sizeof(head)) && WriteAll(descriptor, payload, size);
}

} // namespace

void CrashPlatform::Install(Handler handler) noexcept {
    s_handler.store(handler);
    if (s_installed.exchange(true)) {
        return;
    }
    time_t const now = time(nullptr);
    tm local{};
    if (localtime_r(&now, &local) != nullptr) {
        s_utc_offset = local.tm_gmtoff;
    }
    stack_t present{};
    if (sigaltstack(nullptr, &present) == 0 && (present.ss_flags & SS_DISABLE) != 0) {
        stack_t stack{};
        stack.ss_sp = s_alternate_stack;
        stack.ss_size = sizeof(s_alternate_stack);
        sigaltstack(&stack, nullptr);
    }
    struct sigaction action {};
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (int const signal : fault_signals) {
        sigaddset(&action.sa_mask, signal);
    }
    for (int i = 0; i < signal_count; ++i) {
        sigaction(fault_signals[i], &action, &s_previous[i]);
    }
    s_previous_terminate = std::set_terminate(OnTerminate);
}

char const * CrashPlatform::FaultName(int signal) noexcept {
    int const index = SignalIndex(signal);
    return index < 0 ? nullptr : fault_names[index];
}

void CrashPlatform::Inspect(CrashFault const & fault, CrashInspection & out) noexcept {
    auto * context = static_cast<ucontext_t *>(fault.context);
    if (context == nullptr) {
        getcontext(&s_captured);
        context = &s_captured;
    }
    out.context = context;
    out.frame_count = 0;
    unsigned long long frame = 0;
    ProgramCounters(*context, out.instruction, frame);
    ReadMaps();
    out.frames[0] = CrashFrame();
    Describe(out.instruction, out.instruction, out.frames[0]);
    out.frame_count = 1;
    while (out.frame_count < CrashInspection::max_frames && frame != 0) {
        unsigned long long pair[2] = {0, 0}; // the caller's frame pointer, the return address
        if (!SafeRead(frame, pair, sizeof(pair)) || pair[1] == 0) {
            break;
        }
        CrashFrame & next = out.frames[out.frame_count++];
        next = CrashFrame();
        // A return address points behind its call: the call's own byte names the function.
        Describe(pair[1], pair[1] - 1, next);
        if (pair[0] <= frame || pair[0] - frame > max_frame_distance || (pair[0] & 7) != 0) {
            break;
        }
        frame = pair[0];
    }
}

bool CrashPlatform::WriteDump(CrashFault const & fault, CrashInspection const & inspection, StringView const & folder,
                              char * stem, std::size_t stem_capacity) noexcept {
    SafeText<1024> path;
    for (char const c : folder) {
        path.append(c == '\\' ? '/' : c);
    }
    while (path.size() > 1 && path.data()[path.size() - 1] == '/') {
        char trimmed[1024];
        std::size_t const size = path.size() - 1;
        std::memcpy(trimmed, path.data(), size);
        path.clear();
        path.append(trimmed, size);
    }
    if (path.size() == 0) {
        return false;
    }
    MakeFolders(const_cast<char *>(path.data()), path.size());
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    path.append('/');
    AppendTimeName(static_cast<long long>(now.tv_sec) + s_utc_offset, path);
    if (path.size() + 5 > stem_capacity || path.size() + 5 >= 1024) {
        return false;
    }
    std::memcpy(stem, path.data(), path.size() + 1);
    path.append(".dmp");
    int const descriptor = open(path.data(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (descriptor < 0) {
        return false;
    }
    unsigned int const version[2] = {Layout::version, 0};
    bool ok =
        WriteAll(descriptor, Layout::magic, sizeof(Layout::magic)) && WriteAll(descriptor, version, sizeof(version));

    SafeText<64> record;
    AppendValue(static_cast<int>(fault.signal), record);
    AppendValue(static_cast<int>(fault.code), record);
    AppendValue(static_cast<unsigned long long>(fault.address), record);
    AppendValue(static_cast<unsigned long long>(inspection.instruction), record);
    AppendValue(static_cast<unsigned int>(getpid()), record);
    AppendValue(static_cast<unsigned int>(gettid()), record);
    AppendValue(static_cast<unsigned long long>(now.tv_sec) * 1000000000ull +
                    static_cast<unsigned long long>(now.tv_nsec),
                record);
    ok = ok && WriteRecord(descriptor, Layout::FAULT, record.data(), record.size());

    char name[64];
    ssize_t name_size = 0;
    if (int const comm = open("/proc/thread-self/comm", O_RDONLY | O_CLOEXEC); comm >= 0) {
        name_size = read(comm, name, sizeof(name));
        close(comm);
    }
    while (name_size > 0 && (name[name_size - 1] == '\n' || name[name_size - 1] == 0)) {
        --name_size;
    }
    ok = ok && WriteRecord(descriptor, Layout::THREAD, name, name_size > 0 ? static_cast<std::size_t>(name_size) : 0);

    SafeText<1024> registers;
    AppendRegisters(*static_cast<ucontext_t const *>(inspection.context), registers);
    ok = ok && WriteRecord(descriptor, Layout::REGISTERS, registers.data(), registers.size());

    if (fault.exception != nullptr) {
        ok = ok && WriteRecord(descriptor, Layout::EXCEPTION, fault.exception, std::strlen(fault.exception));
    }
    for (unsigned int i = 0; ok && i < inspection.frame_count; ++i) {
        CrashFrame const & frame = inspection.frames[i];
        unsigned int const module_size = static_cast<unsigned int>(std::strlen(frame.module));
        unsigned int const symbol_size = static_cast<unsigned int>(std::strlen(frame.symbol));
        unsigned long long const numbers[2] = {frame.address, frame.offset};
        unsigned int const head[2] = {Layout::FRAME,
                                      static_cast<unsigned int>(sizeof(numbers) + 8 + module_size + symbol_size)};
        ok = WriteAll(descriptor, head, sizeof(head)) && WriteAll(descriptor, numbers, sizeof(numbers)) &&
             WriteAll(descriptor, &module_size, 4) && WriteAll(descriptor, frame.module, module_size) &&
             WriteAll(descriptor, &symbol_size, 4) && WriteAll(descriptor, frame.symbol, symbol_size);
    }
    ok = ok && WriteRecord(descriptor, Layout::MAPS, s_maps, s_maps_size);
    return close(descriptor) == 0 && ok;
}

bool CrashPlatform::WriteTextFile(char const * path, char const * text, std::size_t size) noexcept {
    int const descriptor = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (descriptor < 0) {
        return false;
    }
    bool const ok = WriteAll(descriptor, text, size);
    return close(descriptor) == 0 && ok;
}

String CrashPlatform::Demangle(StringView const & symbol) {
    String const name(symbol);
    int status = 0;
    char * readable = abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status);
    String result(status == 0 && readable != nullptr ? StringView(readable) : name.view());
    std::free(readable);
    return result;
}

} // namespace QELTA
