// Exceptions: texts of each form, the identity of a kind of failure, and the report on construction.
#include "Base/Concurrency/Thread.h"
#include "Base/Failure/Exception.h"
#include "Base/Language/Translator.h"
#include "Base/Text/StringStream.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

std::string Text(UUID const & id) {
    StringAllocatingView out;
    StringStream<UUID>::toString(id, out);
    return std::string(out.data(), out.size());
}

// Collects what exceptions send to the debugger channel while it lives.
class ReportRecorder {
  public:
    ReportRecorder() {
        Exception::SetReportChannelForTesting([this](StringView const & text) { parts.emplace_back(text); });
    }
    ~ReportRecorder() { Exception::SetReportChannelForTesting({}); }
    ReportRecorder(ReportRecorder const &) = delete;
    ReportRecorder & operator=(ReportRecorder const &) = delete;

    std::vector<std::string> parts;
};

TEST(ExceptionTest, TitleFromTextFormIsTranslatable) {
    Exception const failure(String("{disk_full}The disk is full"), false);
    EXPECT_TRUE(failure.title().isTranslatable());
    EXPECT_EQ(failure.title().translationID(), Translator::DefaultFastID("disk_full"));
    EXPECT_EQ(std::string(failure.title().englishDefine().c_str()), "The disk is full");
    EXPECT_TRUE(failure.stackTrace().isEmpty());
}

TEST(ExceptionTest, NativeExceptionKeepsItsTextInEveryLanguage) {
    Exception const failure(std::runtime_error("{not a label} as it was"));
    EXPECT_FALSE(failure.message().isTranslatable());
    EXPECT_EQ(std::string(failure.message().englishDefine().c_str()), "{not a label} as it was");
    EXPECT_EQ(failure.title().translationID(), Translator::DefaultID("Native Exception"));
    EXPECT_EQ(std::string(failure.title().englishDefine().c_str()), "Native Exception");
}

TEST(ExceptionTest, IdNamesTheKindOfFailure) {
    // MD5 chain over the invalid id, the code 0 as four bytes, the title's id and the detail's
    // (invalid) id, computed independently.
    Exception const first(TranslatedString(StringView("first file")), TranslatedString(StringView("{abc}A")), false);
    Exception const second(TranslatedString(StringView("second file")), TranslatedString(StringView("{abc}B")), false);
    EXPECT_EQ(Text(first.id()), "e6240c04-bf47-81d7-6ca3-f0b1697ca4a7");
    EXPECT_EQ(first.id(), second.id());
    Exception const other(TranslatedString(StringView("{abd}A")), false);
    EXPECT_NE(first.id(), other.id());
}

TEST(ExceptionTest, ReportsTitleMessageAndTraceOnConstruction) {
    ReportRecorder recorder;
    TranslatedString message(StringView("Could not read [file]"));
    message.replace("[file]", TranslatedString::DirectString("a.ini"));
    Exception const failure(message, TranslatedString(StringView("{read_error}Read Error")), false);
    ASSERT_EQ(recorder.parts.size(), 2u);
    EXPECT_EQ(recorder.parts[0], "Read Error");
    EXPECT_EQ(recorder.parts[1], "Could not read a.ini\n");

    recorder.parts.clear();
    Exception const bare(TranslatedString(StringView("Only a title")), false);
    EXPECT_EQ(recorder.parts, std::vector<std::string>{"Only a title"});
}

[[gnu::noinline]] Exception RaiseWithTrace() {
    Exception failure(String("Traced"), true);
    asm volatile("" ::: "memory");
    return failure;
}

TEST(ExceptionTest, StackTraceStartsAtTheRaiser) {
    ReportRecorder recorder;
    Exception const failure = RaiseWithTrace();
    std::string const trace(failure.stackTrace().c_str());
    std::string const first_line = trace.substr(0, trace.find('\n'));
    EXPECT_NE(first_line.find("RaiseWithTrace"), std::string::npos) << trace;
    ASSERT_EQ(recorder.parts.size(), 2u);
    EXPECT_EQ(recorder.parts[1], trace);
}

// The raising thread is named as the library knows it: in full, and empty when unknown.
TEST(ExceptionTest, ThreadNameComesFromTheLibrarysThreads) {
    String const long_name("A thread name well beyond fifteen bytes");
    String seen("not set");
    BasicThread thread(long_name, true, [&] { seen = Exception(String("{}x"), false).threadName(); });
    thread.start();
    thread.join();
    EXPECT_EQ(seen, long_name);
    std::thread foreign([&] { seen = Exception(String("{}x"), false).threadName(); });
    foreign.join();
    EXPECT_EQ(seen, String());
}

TEST(ExceptionTest, CancelTexts) {
    CancelException const requested;
    EXPECT_EQ(std::string(requested.title().englishDefine().c_str()), "Cancel Requested");
    EXPECT_EQ(std::string(requested.message().englishDefine().c_str()), "Canceled");
    CancelException const stopped(TranslatedString(StringView("Import stopped")));
    EXPECT_EQ(std::string(stopped.title().englishDefine().c_str()), "Canceled");
    EXPECT_EQ(std::string(stopped.message().englishDefine().c_str()), "Import stopped");
    EXPECT_TRUE(stopped.title().isTranslatable());
}

} // namespace
} // namespace QELTA
