// LogStream: the sink that pipes hand their messages and progress to.
//
// A stream owns nothing but its table of live progress sources and the list of pipes it is
// attached to; it does not own the pipes, and a pipe does not own its streams. Both lists sit
// behind the stream's own small mutex, so that one stream may be attached to several pipes that
// call it from their own threads. A stream detaches itself from its pipes when it is destroyed,
// and a pipe from its streams; neither may go while the other is calling it. The lock order is a pipe's lock first,
// then the stream's: a stream never calls a pipe while holding its mutex. A muted stream gets nothing from its pipes.
// Nothing here raises beyond a failed allocation.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"

#include <atomic>
#include <mutex>

namespace QELTA {

class InfoPipe;

// The order of the virtual operations is part of the binary interface of the modules that
// implement streams; new operations go at the end.
class QELTA_BASE_EXPORT LogStream {
  public:
    // A live progress source as the stream knows it.
    struct ProgressSource {
        TranslatedString title;
        unsigned int id = 0;
        float progress = 0.0f;
    };

    LogStream() = default;
    LogStream(LogStream const &) = delete;
    LogStream & operator=(LogStream const &) = delete;
    // Detaches from every pipe it is still attached to.
    virtual ~LogStream();

    // Records the pipe; a pipe attached twice is recorded twice.
    virtual void addPipe(InfoPipe * pipe);
    // Forgets the last record of the pipe.
    virtual void removePipe(InfoPipe * pipe);
    // Told when the first cancel (input) guard of a pipe comes and the last goes; nothing here.
    virtual void setCancelActive(bool active);
    virtual void setInputActive(bool active);
    virtual void setProgress(unsigned int id, float progress) = 0;
    virtual void addMessage(unsigned int index, LogMessage const & message) = 0;
    // Records the source unless one with that id is known.
    virtual void addProgressSource(TranslatedString const & title, unsigned int id, float progress);
    virtual void removeProgressSource(unsigned int id);
    // addMessage for each message, in order.
    virtual void addMessages(unsigned int index, Buffer<LogMessage> const & messages);

    bool isMuted() const noexcept { return muted_.load(std::memory_order_relaxed); }
    void setMuted(bool muted) noexcept { muted_.store(muted, std::memory_order_relaxed); }

    // Copies, taken under the stream's mutex.
    Buffer<InfoPipe *> pipes() const;
    Buffer<ProgressSource> progressSources() const; // by ascending id

  protected:
    // Takes the stream out of every pipe it is attached to; the pipes are called without the
    // stream's mutex held.
    void detachFromPipes();

    // Guards sources_ and pipes_; derived streams may take it for their own state too. Held
    // only for short work, never while calling a pipe.
    mutable std::recursive_mutex stream_mutex_;
    Dictionary<unsigned int, ProgressSource> sources_;
    Buffer<InfoPipe *> pipes_;

  private:
    std::atomic<bool> muted_{false};
};

} // namespace QELTA
