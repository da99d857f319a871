// Construction, report and identity of exceptions.
#include "Base/Failure/Exception.h"

#include "Base/Concurrency/Thread.h"
#include "Base/Failure/Platform/DiagnosticsPlatform.h"
#include "Base/Language/Internal/Translatable.h"

#include <utility>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char native_exception_text[] = "Native Exception";
constexpr char cancel_requested_text[] = "Cancel Requested";
constexpr char canceled_text[] = "Canceled";

std::function<void(StringView const &)> & ReportChannel() {
    static std::function<void(StringView const &)> channel;
    return channel;
}

void SendToDebugger(StringView const & text) {
    if (ReportChannel()) {
        ReportChannel()(text);
    } else {
        DiagnosticsPlatform::WriteToDebugger(text);
    }
}

// The English text with the slots filled.
String EnglishText(TranslatedString const & text) {
    String english(text.englishDefine());
    text.replaceVals(english);
    return english;
}

} // namespace

Exception::Exception(String const & text, bool const & capture_trace) : title_(StringView(text)) {
    captureTrace(capture_trace);
    report();
}

Exception::Exception(TranslatedString const & title, bool const & capture_trace) : title_(title) {
    captureTrace(capture_trace);
    report();
}

Exception::Exception(TranslatedString const & message, TranslatedString const & title, bool const & capture_trace)
    : message_(message), title_(title) {
    captureTrace(capture_trace);
    report();
}

Exception::Exception(std::exception const & native)
    : message_(TranslatedString::DirectString(StringView(native.what()))), title_(Translatable(native_exception_text)) {
    report();
}

Exception::~Exception() = default;

void Exception::setMessage(TranslatedString const & message) {
    message_ = message;
}

TranslatedString Exception::message() const {
    return message_;
}

TranslatedString const & Exception::title() const {
    return title_;
}

TranslatedString const & Exception::detail() const {
    return detail_;
}

String const & Exception::stackTrace() const {
    return stack_trace_;
}

unsigned int Exception::code() const {
    return code_;
}

UUID Exception::id() const {
    return UUID().appendUUID(code_).appendUUID(title_.translationID()).appendUUID(detail_.translationID());
}

void Exception::SetReportChannelForTesting(std::function<void(StringView const &)> channel) {
    ReportChannel() = std::move(channel);
}

[[gnu::noinline]] void Exception::captureTrace(bool capture_trace) {
    if (capture_trace) {
        // Leaves out this function and the constructor, so the trace starts at the raiser.
        stack_trace_ = DiagnosticsPlatform::CaptureStackTrace(2);
    }
}

void Exception::report() {
    SendToDebugger(EnglishText(title_));
    String message = EnglishText(message_);
    if (!message.isEmpty()) {
        message.append('\n');
        SendToDebugger(message);
    }
    if (!stack_trace_.isEmpty()) {
        SendToDebugger(stack_trace_);
    }
    thread_name_ = Thread::CurrentThreadName();
}

CancelException::CancelException()
    : Exception(Translatable(canceled_text), Translatable(cancel_requested_text), false) {}

CancelException::CancelException(TranslatedString const & message)
    : Exception(message, Translatable(canceled_text), false) {}

CancelException::~CancelException() = default;

} // namespace QELTA
