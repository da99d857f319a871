// DebugStream: the level and text of each message, and progress in steps of a tenth.
#include "Base/Logging/DebugStream.h"

#include "Base/Failure/Platform/DiagnosticsPlatform.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"

#include <cmath>
#include <mutex>
#include <utility>

namespace QELTA {

DebugStream::DebugStream() = default;

DebugStream::DebugStream(std::function<void(StringView const &)> channel) : channel_(std::move(channel)) {}

DebugStream::~DebugStream() = default;

void DebugStream::send(StringView const & text) {
    if (channel_) {
        channel_(text);
    } else {
        DiagnosticsPlatform::WriteToDebugger(text);
    }
}

void DebugStream::addMessage(unsigned int, LogMessage const & message) {
    if (isMuted() || !message.isFromCurrentSession() || message.rawMessage().isEmpty()) {
        return;
    }
    StringAllocatingView line;
    StringStream<unsigned int>::toString(message.logRecordLevel(), line);
    line.append(',');
    if (message.rawMessage()[0] != '{') {
        message.appendMessage(line, false, false, false);
    }
    line.append('\n');
    std::lock_guard<std::recursive_mutex> const lock(stream_mutex_);
    last_line_ = String(line.view());
    send(last_line_.view());
}

void DebugStream::setProgress(unsigned int, float progress) {
    if (std::isnan(progress)) {
        return;
    }
    std::lock_guard<std::recursive_mutex> const lock(stream_mutex_);
    if (!(std::fabs(progress - last_progress_) >= report_step)) {
        return;
    }
    last_progress_ = progress;
    StringAllocatingView text(last_line_.view());
    StringStream<float>::toString(progress * 100.0f, text);
    text.append('\n');
    progress_text_ = String(text.view());
    send(progress_text_.view());
}

} // namespace QELTA
