// Exception and CancelException: every failure that crosses a function boundary.
//
// An exception is a plain value, copied when thrown, with a translatable title and message (shown
// in the user's language on the catching thread), a detail naming the kind of failure, the name of
// the raising thread, an optional stack trace and a code. Every exception announces itself on the
// debugger channel when it is built, whether or not anyone catches it. Constructors raise nothing
// on their own; a trace that cannot be taken stays empty.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/String.h"
#include "Base/Text/UUID.h"

#include <exception>
#include <functional>

namespace QELTA {

class QELTA_BASE_EXPORT Exception {
  public:
    // `text` is read in the text form of TranslatedString ("{label}English text~key~value").
    Exception(String const & text, bool const & capture_trace);
    Exception(TranslatedString const & title, bool const & capture_trace);
    Exception(TranslatedString const & message, TranslatedString const & title, bool const & capture_trace);
    // The title is the translatable "Native Exception"; the message keeps what() unchanged in every
    // language. No trace is taken.
    explicit Exception(std::exception const & native);

    Exception(Exception const &) = default;
    Exception(Exception &&) noexcept = default;
    Exception & operator=(Exception const &) = default;
    Exception & operator=(Exception &&) noexcept = default;

    virtual ~Exception();
    virtual void setMessage(TranslatedString const & message);
    virtual TranslatedString message() const;
    virtual TranslatedString const & title() const;
    virtual TranslatedString const & detail() const;
    virtual String const & stackTrace() const;
    virtual unsigned int code() const;

    // The identity of the kind of failure: the invalid UUID extended by the code (as unsigned
    // int), then by the ids of the title and the detail. Failures of one kind share it, whatever
    // file or value they name; crash reports group by it.
    UUID id() const;

    String const & threadName() const noexcept { return thread_name_; }
    String const & extra() const noexcept { return extra_; }

    // Replaces the debugger channel for the reports of new exceptions; an empty function restores
    // it. Not thread-safe: set it before exceptions are raised on other threads.
    static void SetReportChannelForTesting(std::function<void(StringView const &)> channel);

  protected:
    // Sends title, message and trace to the debugger channel and records the raising thread;
    // every constructor ends with it.
    void report();

    TranslatedString message_;
    TranslatedString title_;
    TranslatedString detail_;
    String thread_name_;
    String stack_trace_;
    String extra_;
    unsigned int code_ = 0;

  private:
    void captureTrace(bool capture_trace);
};

// An operation stopped on request.
class QELTA_BASE_EXPORT CancelException : public Exception {
  public:
    // Title "Cancel Requested", message "Canceled".
    CancelException();
    // Title "Canceled" with the given message.
    explicit CancelException(TranslatedString const & message);
    ~CancelException() override;
};

} // namespace QELTA
