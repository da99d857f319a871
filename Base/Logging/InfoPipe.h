// InfoPipe: the interface through which long operations report messages, progress, cancel
// requests and input; LogPtr, the nullable handle that everybody passes; and the scope guards
// ProgressInfo, CancelInfo and InputInfoPipe.
//
// Nothing here owns a pipe: a LogPtr points at a pipe that its owner keeps alive, and a guard
// must not outlive the pipe it registered with. LogPtr and the guards hold no lock and rely on
// the pipe's own locking; a LogPtr may be copied to another thread while the pipe lives. An
// empty LogPtr is the normal state when nobody listens: every call is then a cheap no-op. Guard
// destructors never raise; an exception from the pipe while unregistering ends the process.
#pragma once

#include "Base/Export.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class LogStream;
class TranslatedString;

// The receiver of messages, progress sources, cancel guards and input guards. It has no data.
//
// The `index` argument of the message operations names the source of a message and is passed
// on to streams untouched; code without a particular source passes its LogPtr's index, which is
// no_id for a plain LogPtr. Progress sources, cancel guards and input guards are named by ids
// from NewId().
//
// Cancelling is cooperative: requestCancel() sets the flag of every guard registered at that
// moment and requestCancel(id) that of one. A request made while no guard is registered reaches
// nobody and is lost, since the pipe itself has no flag. The code holding a guard asks between
// its steps and leaves by its own means, usually a CancelException; no pipe throws it. Input
// works alike: addInput(text) appends to the pending text of every registered input guard.
//
// The order of the virtual operations is part of the binary interface of the modules that
// implement pipes; new operations go at the end.
class QELTA_BASE_EXPORT InfoPipe {
  public:
    // The index of no particular source, and what an empty LogPtr gives for a new id.
    static constexpr unsigned int no_id = 0xFFFFFFFFu;
    // The progress of a finished source, and of a pipe that has none.
    static constexpr float progress_done = 1.0f;

    // The next id of the one process-wide counter: 1 first, never reused during the run, unique
    // among progress sources, cancel guards and input guards of all pipes. Lock-free.
    static unsigned int NewId() noexcept;

    virtual ~InfoPipe();

    virtual void addMessage(unsigned int index, TranslatedString const & text, unsigned char level) = 0;
    virtual void addMessage(unsigned int index, StringView const & text, unsigned char level) = 0;
    virtual void addMessage(unsigned int index, LogMessage const & message) = 0;
    virtual void addMessages(unsigned int index, Buffer<LogMessage> const & messages) = 0;
    // Without streams these do nothing.
    virtual void addStream(LogStream * stream, bool send_existing);
    virtual void removeStream(LogStream * stream);

    // Whether any cancel guard of the pipe has its flag set.
    virtual bool cancelRequested() const = 0;
    virtual void requestCancel(unsigned int index) = 0;
    virtual void requestCancel() = 0;
    // Progress runs from 0 to 1; a pipe without sources reports 1, done.
    virtual float progressIdx(unsigned int index) const;

    virtual void addInput(StringView const & text) = 0;
    virtual void addInput(StringView const & text, unsigned int index) = 0;

    virtual void addProgressSource(TranslatedString const & title, unsigned int index, float progress) = 0;
    // Takes a new id from NewId(), registers the source under it and returns it.
    virtual unsigned int addProgressSource(TranslatedString const & title, float progress) = 0;
    virtual void removeProgressSource(unsigned int index) = 0;
    virtual void setProgressIdx(unsigned int index, float progress) = 0;

    virtual void addCancelGuard(TranslatedString const & title, unsigned int index) = 0;
    virtual unsigned int addCancelGuard(TranslatedString const & title) = 0;
    virtual void removeCancelGuard(unsigned int index) = 0;
    // The flag of one guard; false for an id that is not registered.
    virtual bool cancelRequestedIdx(unsigned int index) const = 0;

    virtual void addInputGuard(TranslatedString const & title, unsigned int index) = 0;
    virtual unsigned int addInputGuard(TranslatedString const & title) = 0;
    virtual void removeInputGuard(unsigned int index) = 0;
    // Appends the guard's pending input to `out`, emptying it when `consume` is set. Without
    // input guards this does nothing.
    virtual void getInputIdx(String & out, unsigned int index, bool consume);
    virtual void clearInputIdx(unsigned int index) = 0;

  protected:
    InfoPipe() noexcept = default;
    InfoPipe(InfoPipe const &) noexcept = default;
    InfoPipe & operator=(InfoPipe const &) noexcept = default;
};

// A pipe pointer, not owned and possibly null, and the index of the source it speaks for (no_id
// by default). Every operation is forwarded unchanged to the pipe; with a null pipe it does
// nothing and gives false from the cancel questions, 1 from progressIdx and no_id from the
// operations that make a new id. A LogPtr may wrap any pipe, another LogPtr included. It is
// passed by value as the last argument of every operation that can take long.
class QELTA_BASE_EXPORT LogPtr : public InfoPipe {
  public:
    LogPtr() noexcept = default;
    explicit LogPtr(InfoPipe * pipe, unsigned int index = no_id) noexcept : pipe_(pipe), index_(index) {}
    LogPtr(LogPtr const &) noexcept = default;
    LogPtr & operator=(LogPtr const &) noexcept = default;
    ~LogPtr() override;

    InfoPipe * pipe() const noexcept { return pipe_; }
    unsigned int index() const noexcept { return index_; }
    bool hasPipe() const noexcept { return pipe_ != nullptr; }

    void addMessage(unsigned int index, TranslatedString const & text, unsigned char level) override;
    void addMessage(unsigned int index, StringView const & text, unsigned char level) override;
    void addMessage(unsigned int index, LogMessage const & message) override;
    void addMessages(unsigned int index, Buffer<LogMessage> const & messages) override;
    void addStream(LogStream * stream, bool send_existing) override;
    void removeStream(LogStream * stream) override;
    bool cancelRequested() const override;
    void requestCancel(unsigned int index) override;
    void requestCancel() override;
    float progressIdx(unsigned int index) const override;
    void addInput(StringView const & text) override;
    void addInput(StringView const & text, unsigned int index) override;
    void addProgressSource(TranslatedString const & title, unsigned int index, float progress) override;
    unsigned int addProgressSource(TranslatedString const & title, float progress) override;
    void removeProgressSource(unsigned int index) override;
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

  protected:
    InfoPipe * pipe_ = nullptr;
    unsigned int index_ = no_id;
};

// The forwarders are inline, so that a call on a LogPtr held by value costs one null test
// and, with a pipe, one virtual call.

inline void LogPtr::addMessage(unsigned int index, TranslatedString const & text, unsigned char level) {
    if (pipe_ != nullptr) {
        pipe_->addMessage(index, text, level);
    }
}

inline void LogPtr::addMessage(unsigned int index, StringView const & text, unsigned char level) {
    if (pipe_ != nullptr) {
        pipe_->addMessage(index, text, level);
    }
}

inline void LogPtr::addMessage(unsigned int index, LogMessage const & message) {
    if (pipe_ != nullptr) {
        pipe_->addMessage(index, message);
    }
}

inline void LogPtr::addMessages(unsigned int index, Buffer<LogMessage> const & messages) {
    if (pipe_ != nullptr) {
        pipe_->addMessages(index, messages);
    }
}

inline void LogPtr::addStream(LogStream * stream, bool send_existing) {
    if (pipe_ != nullptr) {
        pipe_->addStream(stream, send_existing);
    }
}

inline void LogPtr::removeStream(LogStream * stream) {
    if (pipe_ != nullptr) {
        pipe_->removeStream(stream);
    }
}

inline bool LogPtr::cancelRequested() const {
    return pipe_ != nullptr && pipe_->cancelRequested();
}

inline void LogPtr::requestCancel(unsigned int index) {
    if (pipe_ != nullptr) {
        pipe_->requestCancel(index);
    }
}

inline void LogPtr::requestCancel() {
    if (pipe_ != nullptr) {
        pipe_->requestCancel();
    }
}

inline float LogPtr::progressIdx(unsigned int index) const {
    return pipe_ != nullptr ? pipe_->progressIdx(index) : progress_done;
}

inline void LogPtr::addInput(StringView const & text) {
    if (pipe_ != nullptr) {
        pipe_->addInput(text);
    }
}

inline void LogPtr::addInput(StringView const & text, unsigned int index) {
    if (pipe_ != nullptr) {
        pipe_->addInput(text, index);
    }
}

inline void LogPtr::addProgressSource(TranslatedString const & title, unsigned int index, float progress) {
    if (pipe_ != nullptr) {
        pipe_->addProgressSource(title, index, progress);
    }
}

inline unsigned int LogPtr::addProgressSource(TranslatedString const & title, float progress) {
    return pipe_ != nullptr ? pipe_->addProgressSource(title, progress) : no_id;
}

inline void LogPtr::removeProgressSource(unsigned int index) {
    if (pipe_ != nullptr) {
        pipe_->removeProgressSource(index);
    }
}

inline void LogPtr::setProgressIdx(unsigned int index, float progress) {
    if (pipe_ != nullptr) {
        pipe_->setProgressIdx(index, progress);
    }
}

inline void LogPtr::addCancelGuard(TranslatedString const & title, unsigned int index) {
    if (pipe_ != nullptr) {
        pipe_->addCancelGuard(title, index);
    }
}

inline unsigned int LogPtr::addCancelGuard(TranslatedString const & title) {
    return pipe_ != nullptr ? pipe_->addCancelGuard(title) : no_id;
}

inline void LogPtr::removeCancelGuard(unsigned int index) {
    if (pipe_ != nullptr) {
        pipe_->removeCancelGuard(index);
    }
}

inline bool LogPtr::cancelRequestedIdx(unsigned int index) const {
    return pipe_ != nullptr && pipe_->cancelRequestedIdx(index);
}

inline void LogPtr::addInputGuard(TranslatedString const & title, unsigned int index) {
    if (pipe_ != nullptr) {
        pipe_->addInputGuard(title, index);
    }
}

inline unsigned int LogPtr::addInputGuard(TranslatedString const & title) {
    return pipe_ != nullptr ? pipe_->addInputGuard(title) : no_id;
}

inline void LogPtr::removeInputGuard(unsigned int index) {
    if (pipe_ != nullptr) {
        pipe_->removeInputGuard(index);
    }
}

inline void LogPtr::getInputIdx(String & out, unsigned int index, bool consume) {
    if (pipe_ != nullptr) {
        pipe_->getInputIdx(out, index, consume);
    }
}

inline void LogPtr::clearInputIdx(unsigned int index) {
    if (pipe_ != nullptr) {
        pipe_->clearInputIdx(index);
    }
}

// A progress source for one scope: registered at construction, its index() is the source's id
// (no_id without a pipe). The destructor sets the progress to 1 and then removes the source, so
// that listeners always see a finished bar before it goes. Not copyable; hand it down as a
// LogPtr reference.
class QELTA_BASE_EXPORT ProgressInfo : public LogPtr {
  public:
    ProgressInfo(TranslatedString const & title, LogPtr const & log, float progress);
    ProgressInfo(ProgressInfo const &) = delete;
    ProgressInfo & operator=(ProgressInfo const &) = delete;
    ~ProgressInfo() noexcept override;

    // Progress from 0 to 1; ignored without a pipe.
    void setProgress(float progress);
};

// A cancel guard for one scope: registered at construction, its index() is the guard's id (no_id
// without a pipe). cancelRequested() answers for this guard alone, where a plain LogPtr answers
// for the whole pipe. Not copyable.
class QELTA_BASE_EXPORT CancelInfo : public LogPtr {
  public:
    CancelInfo(TranslatedString const & title, LogPtr const & log);
    CancelInfo(CancelInfo const &) = delete;
    CancelInfo & operator=(CancelInfo const &) = delete;
    ~CancelInfo() noexcept override;

    bool cancelRequested() const override;
};

// An input guard for one scope. It keeps the index of the LogPtr it was made from, so that its
// messages name the same source, and the guard's own id in inputIndex() (no_id without a pipe).
// Not copyable.
class QELTA_BASE_EXPORT InputInfoPipe : public LogPtr {
  public:
    InputInfoPipe(TranslatedString const & title, LogPtr const & log);
    InputInfoPipe(InputInfoPipe const &) = delete;
    InputInfoPipe & operator=(InputInfoPipe const &) = delete;
    ~InputInfoPipe() noexcept override;

    unsigned int inputIndex() const noexcept { return input_index_; }
    // The pending input, which is emptied; empty without a pipe.
    String getInput();

  private:
    unsigned int input_index_;
};

} // namespace QELTA
