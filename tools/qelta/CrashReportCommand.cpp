// qelta crash-report: the fault, thread, registers and stack of a crash dump.
#include "tools/qelta/Command.h"

#include "Base/Failure/CrashManager.h"
#include "Base/Text/StringAllocatingView.h"

#include <cstdio>
#include <memory>
#include <string>

namespace QELTA::Tool {
namespace {

constexpr unsigned int registers_per_line = 3;
constexpr char time_format[] = "YYYY-MM-DD HH:mm:ss.fff";

int RunCrashReport(std::string const & path) {
    File const file = FromNativePath(path);
    CrashDump dump;
    try {
        if (!dump.read(file)) {
            std::fflush(stdout);
            std::fprintf(stderr, "qelta crash-report: %s: not a crash dump\n", NativePath(file).c_str());
            return exit_failure;
        }
    } catch (Exception const & error) {
        return Failure("crash-report", error);
    }
    StringAllocatingView time;
    dump.time.appendTo(time, true, StringView(time_format));
    std::printf("%s\n", NativePath(file).c_str());
    std::printf("  fault      %s (code %d) at address 0x%llx\n", dump.signalName().c_str(), dump.code,
                dump.fault_address);
    if (!dump.exception.isEmpty()) {
        std::printf("  exception  %s\n", dump.exception.c_str());
    }
    std::printf("  time       %.*s (local)\n", static_cast<int>(time.size()), time.data());
    std::printf("  process    %u, thread %u \"%s\"\n", dump.process, dump.thread, dump.thread_name.c_str());
    std::puts("registers");
    for (unsigned int i = 0; i < dump.registers.size(); ++i) {
        std::printf("%s%-6s 0x%016llx", i % registers_per_line == 0 ? "  " : "   ", dump.registers[i].name.c_str(),
                    dump.registers[i].value);
        if (i % registers_per_line == registers_per_line - 1 || i + 1 == dump.registers.size()) {
            std::putchar('\n');
        }
    }
    std::puts("stack");
    for (unsigned int i = 0; i < dump.frames.size(); ++i) {
        CrashDump::Frame const & frame = dump.frames[i];
        std::printf("  #%-2u 0x%016llx  %s", i, frame.address, frame.function().c_str());
        if (!frame.module.isEmpty()) {
            std::printf("  in %s +0x%llx", frame.module.c_str(), frame.offset);
        }
        std::putchar('\n');
    }
    return exit_ok;
}

} // namespace

void AddCrashReportCommand(CLI::App & qelta) {
    auto const path = std::make_shared<std::string>();
    AddCommand(qelta, "crash-report", "shows the fault, thread, registers and stack of a crash dump",
               "Reads a crash dump (\"YYYY_MM_DD_HH_mm_ss.dmp\", written by a program whose CrashManager\n"
               "caught a fault) and shows the fault with its signal and address, the uncaught exception\n"
               "if there was one, the time and the faulting thread, its registers, and its stack, one frame\n"
               "a line with the function, the module and the offset in the module's file.",
               [path] { return RunCrashReport(*path); })
        .add_option("FILE", *path, "the dump")
        ->required();
}

} // namespace QELTA::Tool
