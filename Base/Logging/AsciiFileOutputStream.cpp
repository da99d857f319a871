// AsciiFileOutputStream: the queue, the "Log File Thread" that drains it in batches, and the
// reading and writing of whole log files.
#include "Base/Logging/AsciiFileOutputStream.h"

#include "Base/Concurrency/Thread.h"
#include "Base/Concurrency/ThreadFunctions.h"
#include "Base/Failure/Exception.h"
#include "Base/Files/BufferedScanner.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <utility>

namespace QELTA {
namespace Internal {

// The thread and its queue. Fields under `mutex_`: the queue, the flags, the path and the
// counters. The File object itself belongs to the thread while it runs and to the stream while it
// is stopped, so that opening and writing happen without the mutex.
class AsciiWriteThread : public Thread {
  public:
    explicit AsciiWriteThread(File const & file) : Thread(StringView(AsciiFileOutputStream::thread_name)) {
        assignFile(file);
    }

    ~AsciiWriteThread() override { stopThread(); }

    void run() override {
        while (isRunning()) {
            try {
                if (!writeBatch()) {
                    return;
                }
            } catch (...) {
                // Nothing of a failed batch is reported; the next one is tried a little later.
                closeQuietly();
                ThreadFunctions::RequestSleep(failure_pause_ms);
            }
        }
    }

    // Waits for a running batch to end; records still queued stay for the next start.
    void stopThread() override {
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            is_running_.store(false, std::memory_order_relaxed);
            stop_requested_ = true;
        }
        changed_.notify_all();
        // Joined rather than detached: the thread object is about to change or go, and a
        // detached batch would still be writing into it.
        join();
        std::lock_guard<std::mutex> const lock(mutex_);
        stop_requested_ = false;
    }

    // Only while stopped. An open that fails leaves the file to the next batch.
    void setFile(File const & file, bool append) {
        closeQuietly();
        assignFile(file);
        if (!file_.isEmpty()) {
            try {
                file_.open(File::WRITE_TEXT, append);
            } catch (Exception const &) {
                closeQuietly();
            }
        }
    }

    // Only while stopped.
    File & heldFile() noexcept { return file_; }

    File file() const {
        std::lock_guard<std::mutex> const lock(mutex_);
        return File(path_);
    }

    // A full queue drops the record and counts it.
    void enqueue(LogMessage const & message) {
        bool wake = false;
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            if (!accepting_) {
                return;
            }
            if (queue_.size() >= limit_) {
                ++dropped_;
                return;
            }
            wake = queue_.isEmpty();
            queue_.add(message);
        }
        if (wake) {
            changed_.notify_one();
        }
    }

    void enqueue(Buffer<LogMessage> const & messages) {
        bool wake = false;
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            if (!accepting_) {
                return;
            }
            wake = queue_.isEmpty();
            for (LogMessage const & message : messages) {
                if (current_session_only_ && !message.isFromCurrentSession()) {
                    continue;
                }
                if (queue_.size() >= limit_) {
                    ++dropped_;
                    continue;
                }
                queue_.add(message);
            }
            wake = wake && !queue_.isEmpty();
        }
        if (wake) {
            changed_.notify_one();
        }
    }

    bool waitUntilWritten(unsigned long long timeout) {
        std::unique_lock<std::mutex> lock(mutex_);
        return written_.wait_for(lock, std::chrono::nanoseconds(timeout),
                                 [this] { return queue_.isEmpty() && !writing_; });
    }

    // After this, records are no longer queued.
    void close() {
        std::lock_guard<std::mutex> const lock(mutex_);
        accepting_ = false;
    }

    void setCurrentSessionOnly(bool only) {
        std::lock_guard<std::mutex> const lock(mutex_);
        current_session_only_ = only;
    }

    unsigned long long dropped() const {
        std::lock_guard<std::mutex> const lock(mutex_);
        return dropped_;
    }

    unsigned int limit() const {
        std::lock_guard<std::mutex> const lock(mutex_);
        return limit_;
    }

    void setLimit(unsigned int limit) {
        std::lock_guard<std::mutex> const lock(mutex_);
        limit_ = limit == 0 ? 1 : limit;
    }

  private:
    static constexpr unsigned long long failure_pause_ms = 100;

    void assignFile(File const & file) {
        file_ = file;
        std::lock_guard<std::mutex> const lock(mutex_);
        path_ = String(file.view());
    }

    void closeQuietly() noexcept {
        try {
            file_.close();
        } catch (...) {
            // The failure of a batch is not reported; the stream was closed all the same.
        }
    }

    // One batch: false when the thread is to stop. The file is opened before the queue is taken,
    // so that an open that fails leaves the queue as it was.
    bool writeBatch() {
        {
            std::unique_lock<std::mutex> lock(mutex_);
            changed_.wait(lock, [this] {
                return stop_requested_ || !is_running_.load(std::memory_order_relaxed) ||
                       (!queue_.isEmpty() && !path_.isEmpty());
            });
            if (stop_requested_ || !is_running_.load(std::memory_order_relaxed)) {
                return false;
            }
        }
        if (!file_.isOpen()) {
            file_.open(File::WRITE_TEXT, true);
        }
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            batch_.clear();
            std::swap(batch_, queue_);
            writing_ = true;
        }
        struct Done {
            AsciiWriteThread & thread;
            ~Done() {
                thread.batch_.clear();
                {
                    std::lock_guard<std::mutex> const lock(thread.mutex_);
                    thread.writing_ = false;
                }
                thread.written_.notify_all();
            }
        } const done{*this};
        std::FILE * const stream = file_.filePtr();
        for (LogMessage const & message : batch_) {
            line_.clear();
            StringStream<LogMessage>::toString(message, line_);
            line_.append('\n');
            std::fwrite(line_.data(), 1, line_.size(), stream);
        }
        if (!batch_.isEmpty()) {
            file_.flush();
        }
        file_.close();
        return true;
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_; // the queue, the path or the flags changed
    std::condition_variable written_; // a batch ended
    StringAllocatingView line_;       // the thread's, reused for each line
    Buffer<LogMessage> queue_;
    Buffer<LogMessage> batch_; // the thread's
    File file_;
    String path_;
    unsigned long long dropped_ = 0;
    unsigned int limit_ = AsciiFileOutputStream::default_queue_limit;
    bool current_session_only_ = true;
    bool stop_requested_ = false;
    bool writing_ = false;
    bool accepting_ = true;
};

} // namespace Internal

namespace {

constexpr unsigned long long write_log_file_wait = 10ull * 1000 * 1000 * 1000;

// Runs `change` with the thread stopped, and starts it again whatever happens.
template <class Change>
void WhileStopped(Internal::AsciiWriteThread & thread, Change && change) {
    thread.stopThread();
    try {
        change();
    } catch (...) {
        thread.start();
        throw;
    }
    thread.start();
}

} // namespace

AsciiFileOutputStream::AsciiFileOutputStream(File const & file, bool append)
    : write_thread_(new Internal::AsciiWriteThread(file)) {
    if (!append && !file.isEmpty() && file.exists()) {
        write_thread_->setFile(file, false);
    }
    write_thread_->start();
}

AsciiFileOutputStream::~AsciiFileOutputStream() {
    write_thread_->close();
    detachFromPipes();
    delete write_thread_;
}

void AsciiFileOutputStream::setProgress(unsigned int, float) {}

void AsciiFileOutputStream::addMessage(unsigned int, LogMessage const & message) {
    if (isMuted() || (current_session_only_.load(std::memory_order_relaxed) && !message.isFromCurrentSession())) {
        return;
    }
    write_thread_->enqueue(message);
}

void AsciiFileOutputStream::addMessages(unsigned int, Buffer<LogMessage> const & messages) {
    if (isMuted()) {
        return;
    }
    write_thread_->enqueue(messages);
}

File AsciiFileOutputStream::file() const {
    return write_thread_->file();
}

void AsciiFileOutputStream::setFile(File const & file, bool append) {
    WhileStopped(*write_thread_, [&] { write_thread_->setFile(file, append); });
}

void AsciiFileOutputStream::moveFile(File target) {
    WhileStopped(*write_thread_, [&] {
        File & present = write_thread_->heldFile();
        present.close();
        if (present.exists()) {
            present.moveTo(target, true, LogPtr());
        }
        write_thread_->setFile(target, true);
    });
}

void AsciiFileOutputStream::copyFile(File target) {
    WhileStopped(*write_thread_, [&] {
        File & present = write_thread_->heldFile();
        present.close();
        if (present.exists()) {
            present.copyTo(target, true, LogPtr());
        }
        write_thread_->setFile(target, true);
    });
}

void AsciiFileOutputStream::setCurrentSessionOnly(bool only) noexcept {
    current_session_only_.store(only, std::memory_order_relaxed);
    write_thread_->setCurrentSessionOnly(only);
}

bool AsciiFileOutputStream::waitUntilWritten(unsigned long long timeout) {
    return write_thread_->waitUntilWritten(timeout);
}

unsigned long long AsciiFileOutputStream::droppedMessages() const {
    return write_thread_->dropped();
}

unsigned int AsciiFileOutputStream::queueLimit() const {
    return write_thread_->limit();
}

void AsciiFileOutputStream::setQueueLimit(unsigned int limit) {
    write_thread_->setLimit(limit);
}

void AsciiFileOutputStream::WriteLogFile(LogPtr log, File const & file) {
    AsciiFileOutputStream stream(file, false);
    stream.setCurrentSessionOnly(false);
    log.addStream(&stream, true);
    log.removeStream(&stream);
    stream.waitUntilWritten(write_log_file_wait);
}

void AsciiFileOutputStream::ReadLogFile(LogPtr log, File const & file) {
    BufferedScanner scanner(file, '\t', File::READ_TEXT_TEMP_COPY);
    scanner.setIgnoreEmptyLines(true);
    while (scanner.nextLine()) {
        Time time;
        try {
            time.setTimeFromString(scanner.getNext(), false, StringStream<LogMessage>::time_format);
        } catch (Exception const &) {
            time = Time();
        }
        unsigned char const level = scanner.getNext<unsigned char>();
        unsigned short const session = scanner.getNext<unsigned short>();
        StringView const text = scanner.getNext();
        log.addMessage(log.index(), LogMessage(time, text, level, session));
    }
}

} // namespace QELTA
