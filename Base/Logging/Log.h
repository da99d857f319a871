// Log: the pipe that remembers every message and hands everything on to its streams.
//
// A Log owns its messages and its tables of progress sources, cancel guards and input guards; it
// does not own its streams, and detaches itself from them when it is destroyed. One recursive
// mutex guards all of it, and is held while the streams are called: a stream must be quick and
// must not wait for a thread that logs, but it may log into the same Log from within the call.
// The order is the Log's mutex, then a stream's. An exception from a stream reaches the caller
// who logged; the Log raises nothing of its own.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"

#include <mutex>

namespace QELTA {

class LogStream;

// The message list is the Buffer this class derives from. It only grows: nothing trims it while
// the Log lives. The Buffer's own members take no lock; read it through getSafe() or
// copyMessages() while other threads may log.
class QELTA_BASE_EXPORT Log : public InfoPipe, public Buffer<LogMessage> {
  public:
    // The level of the message that announces a progress source by its title.
    static constexpr unsigned char progress_title_level = 10;
    // A progress change at or below this size does not reach the streams.
    static constexpr float progress_threshold = 0.001f;

    // An empty log with room for 10 messages; the number is not used.
    explicit Log(unsigned long long reserved = 0);
    // Copies the messages and attaches the other's streams without sending them anything; the
    // tables of sources and guards start empty.
    Log(Log const & other);
    Log & operator=(Log const &) = delete;
    ~Log() override;

    // Inserts at `position` (clamped to the end); streams are not told.
    void insertMessages(unsigned int position, Buffer<LogMessage> const & messages);
    // Appends the other's messages; streams are not told.
    void concatenate(Log const & other);
    // By ascending level and by ascending time. Neither takes the lock, and neither keeps the
    // order of equal records by contract.
    void sortMessagesByPriority();
    void sortMessagesByTime();
    // A copy of message `index`, taken under the lock; an empty record past the end.
    LogMessage getSafe(unsigned int index) const;
    // A copy of the whole list, taken under the lock.
    Buffer<LogMessage> copyMessages() const;

    // Appends a copy, then hands it to each stream that is not muted.
    void addMessage(unsigned int index, TranslatedString const & text, unsigned char level) override;
    void addMessage(unsigned int index, StringView const & text, unsigned char level) override;
    void addMessage(unsigned int index, LogMessage const & message) override;
    void addMessages(unsigned int index, Buffer<LogMessage> const & messages) override;
    // Attaches a stream once: tells it of this pipe, sends it the whole list when `send_existing`
    // is set, and then the progress of every live source.
    void addStream(LogStream * stream, bool send_existing) override;
    // Removes the last attachment of the stream; the stream is not told.
    void removeStream(LogStream * stream) override;

    bool cancelRequested() const override;
    void requestCancel(unsigned int index) override;
    void requestCancel() override;
    // The stored progress; 0 for an id that is not registered.
    float progressIdx(unsigned int index) const override;
    void addInput(StringView const & text) override;
    void addInput(StringView const & text, unsigned int index) override;
    // Stores the source (replacing one of the same id), then, with the mutex released, logs its
    // title at progress_title_level with the id as index, and announces it to each stream.
    void addProgressSource(TranslatedString const & title, unsigned int index, float progress) override;
    unsigned int addProgressSource(TranslatedString const & title, float progress) override;
    void removeProgressSource(unsigned int index) override;
    // Accepted when exactly one of the old and new values is NaN, when exactly one is 1 or more,
    // or when they differ by more than progress_threshold; a change that creeps by less is
    // dropped, so that progress does not flood the views.
    void setProgressIdx(unsigned int index, float progress) override;
    void addCancelGuard(TranslatedString const & title, unsigned int index) override;
    unsigned int addCancelGuard(TranslatedString const & title) override;
    void removeCancelGuard(unsigned int index) override;
    bool cancelRequestedIdx(unsigned int index) const override;
    void addInputGuard(TranslatedString const & title, unsigned int index) override;
    unsigned int addInputGuard(TranslatedString const & title) override;
    void removeInputGuard(unsigned int index) override;
    void getInputIdx(String & out, unsigned int index, bool consume) override;
    void clearInputIdx(unsigned int index) override;

  private:
    struct ProgressRecord {
        TranslatedString title;
        unsigned int id = 0;
        float progress = 0.0f;
    };

    // Calls `call` for each stream (those not muted when `skip_muted`); the mutex held.
    void forEachStream(bool skip_muted, auto && call);
    // addMessage for a record made here, which moves into the list instead of being copied.
    void addOwned(unsigned int index, LogMessage && message);

    Dictionary<unsigned int, bool> cancel_guards_;
    Dictionary<unsigned int, ProgressRecord> progress_sources_;
    Dictionary<unsigned int, String> input_guards_;
    Buffer<LogStream *> streams_;
    mutable std::recursive_mutex mutex_; // guards all of the above and the message list
};

} // namespace QELTA
