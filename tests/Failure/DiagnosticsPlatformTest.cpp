// The debugger channel and stack traces of the platform.
#include "Base/Failure/Platform/DiagnosticsPlatform.h"

#include <gtest/gtest.h>

#include <string>

namespace QELTA {
namespace {

// Kept out of line and named, so that the trace must show it.
[[gnu::noinline]] String TraceFromNamedCaller() {
    String trace = DiagnosticsPlatform::CaptureStackTrace();
    asm volatile("" ::: "memory"); // no tail call: this frame stays on the stack
    return trace;
}

TEST(DiagnosticsPlatformTest, StackTraceNamesTheCallingFunction) {
    String const trace = TraceFromNamedCaller();
    std::string const text(trace.c_str());
    EXPECT_EQ(text.rfind("#0 ", 0), 0u) << text;
    // The innermost frame is the caller, demangled, with its file where debug information exists.
    std::string const first_line = text.substr(0, text.find('\n'));
    EXPECT_NE(first_line.find("TraceFromNamedCaller"), std::string::npos) << text;
    EXPECT_NE(text.find("StackTraceNamesTheCallingFunction"), std::string::npos) << text;
}

TEST(DiagnosticsPlatformTest, SkippedFramesAreLeftOut) {
    std::string const full(DiagnosticsPlatform::CaptureStackTrace().c_str());
    std::string const skipped(DiagnosticsPlatform::CaptureStackTrace(1).c_str());
    EXPECT_NE(full.find("SkippedFramesAreLeftOut"), std::string::npos) << full;
    EXPECT_EQ(skipped.substr(0, skipped.find('\n')).find("SkippedFramesAreLeftOut"), std::string::npos) << skipped;
}

TEST(DiagnosticsPlatformTest, DebuggerChannelIsSilentWithoutADebugger) {
    if (DiagnosticsPlatform::IsDebuggerAttached()) {
        GTEST_SKIP() << "running under a debugger";
    }
    testing::internal::CaptureStderr();
    DiagnosticsPlatform::WriteToDebugger(StringView("not shown\n"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
} // namespace QELTA
