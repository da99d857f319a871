// The console and debugger streams: progress rows drawn in place and erased, plain output away
// from a terminal, long lines cut, and the debugger lines.
#include "Base/Logging/DebugStream.h"
#include "Base/Logging/STDOutputStream.h"

#include "Base/Language/TranslatedString.h"
#include "Base/Logging/Log.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace QELTA {
namespace {

// Standard output stand-in: a temporary file read back whole.
class Capture {
  public:
    Capture() : file_(std::tmpfile()) {}
    ~Capture() { std::fclose(file_); }
    Capture(Capture const &) = delete;
    Capture & operator=(Capture const &) = delete;

    std::FILE * file() const { return file_; }
    std::string text() const {
        std::fflush(file_);
        std::rewind(file_);
        std::string out;
        for (int c = std::fgetc(file_); c != EOF; c = std::fgetc(file_)) {
            out += static_cast<char>(c);
        }
        return out;
    }

  private:
    std::FILE * file_;
};

std::string const up_and_blank = "\x1b[A\r" + std::string(79, ' ') + "\r";

std::string HalfRow(char const * title) {
    return "\r[" + std::string(33, '=') + ">" + std::string(36, ' ') + "]50 % " + title + "\n";
}

TEST(STDOutputStreamTest, ProgressRowIsDrawnInPlaceAndErasedAfter) {
    Capture out;
    STDOutputStream console(out.file(), true);
    Log log;
    log.addStream(&console, false);
    {
        ProgressInfo progress(TranslatedString::DirectString("Copying"), LogPtr(&log), 0.0f);
        progress.setProgress(0.5f);
        progress.setProgress(0.505f);
        log.addMessage(InfoPipe::no_id, StringView("half way"), 2);
    }
    log.addMessage(InfoPipe::no_id, StringView("done"), 2);
    std::string const complete =
        "\r[=============================[complete]===============================] 100% Copying\n";
    EXPECT_EQ(out.text(), "Copying\n" + HalfRow("Copying") + up_and_blank + "half way\n" + HalfRow("Copying") +
                              up_and_blank + complete + up_and_blank + "done\n");
}

TEST(STDOutputStreamTest, AwayFromATerminalOnlyMessagesArePrinted) {
    Capture out;
    STDOutputStream console(out.file(), false);
    Log log;
    log.addStream(&console, false);
    {
        ProgressInfo progress(TranslatedString::DirectString("Copying"), LogPtr(&log), 0.0f);
        progress.setProgress(0.5f);
        log.addMessage(InfoPipe::no_id, StringView("a\tb\x1b[31m red"), 2);
    }
    console.setMuted(true);
    log.addMessage(InfoPipe::no_id, StringView("muted"), 2);
    EXPECT_EQ(out.text(), "Copying\na\\tb red\n");
}

TEST(STDOutputStreamTest, LinesOf180BytesAndMoreAreCut) {
    struct Row {
        unsigned int size;
        std::string expected;
    };
    std::string text;
    for (int i = 0; i < 200; ++i) {
        text += static_cast<char>('a' + i % 26);
    }
    Row const rows[] = {
        {179, text.substr(0, 179)},
        {180, text.substr(0, 90) + "..." + text.substr(180 - 95, 95)},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.size);
        Capture out;
        STDOutputStream console(out.file(), true);
        console.addMessage(InfoPipe::no_id, LogMessage(StringView(text.substr(0, row.size).c_str()), 2));
        EXPECT_EQ(out.text(), row.expected + "\n");
    }
}

TEST(DebugStreamTest, SendsLevelAndTextAndProgressInTenths) {
    std::vector<std::string> sent;
    DebugStream debug([&sent](StringView const & text) { sent.emplace_back(text.data(), text.size()); });
    Log log;
    log.addStream(&debug, false);
    log.addMessage(InfoPipe::no_id, StringView("a\tb\nc"), 3);
    log.addMessage(InfoPipe::no_id, StringView(""), 3);
    debug.setProgress(1, 0.05f);
    debug.setProgress(1, 0.25f);
    log.addMessage(InfoPipe::no_id, TranslatedString(StringView("{greeting}Hello")), 4);
    EXPECT_EQ(sent, (std::vector<std::string>{"3,a\\tb\\nc\n", "3,a\\tb\\nc\n25\n", "4,\n"}));
}

} // namespace
} // namespace QELTA
