// DebugStream: messages and coarse progress on the debugger channel.
//
// On Linux the channel is standard error while a debugger is attached, and nothing otherwise
// (Base/Failure/Platform/DiagnosticsPlatform.h); a test may give its own channel. The stream's
// lines sit behind its own mutex, so several pipes may share it. Nothing here raises.
#pragma once

#include "Base/Export.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Logging/LogStream.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <functional>

namespace QELTA {

// A message of the current session with text becomes "level,text\n", the text with line feed,
// carriage return and tab shown as backslash sequences and ANSI sequences removed; a text form
// of a translatable text ("{label}...") is left out, giving "level,\n". A progress change of
// 0.1 or more sends the last message line followed by the progress times 100 and a line feed;
// NaN is ignored.
class QELTA_BASE_EXPORT DebugStream : public LogStream {
  public:
    static constexpr float report_step = 0.1f;

    DebugStream();
    explicit DebugStream(std::function<void(StringView const &)> channel);
    ~DebugStream() override;

    void setProgress(unsigned int id, float progress) override;
    void addMessage(unsigned int index, LogMessage const & message) override;

  private:
    void send(StringView const & text);

    std::function<void(StringView const &)> channel_;
    String last_line_;
    String progress_text_;
    float last_progress_ = 0.0f;
};

} // namespace QELTA
