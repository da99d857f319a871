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
            if (queued_ >= limit_) {
                ++dropped_;
                return;
            }
            wake = idle_ && queued_ == 0;
            push(message);
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
            wake = idle_ && queued_ == 0;
            for (LogMessage const & message : messages) {
                if (current_session_only_ && !message.isFromCurrentSession()) {
                    continue;
                }
                if (queued_ >= limit_) {
                    ++dropped_;
                    continue;
                }
                push(message);
            }
            wake = wake && queued_ != 0;
        }
        if (wake) {
            changed_.notify_one();
        }
    }

    bool waitUntilWritten(unsigned long long timeout) {
        std::unique_lock<std::mutex> lock(mutex_);
        return written_.wait_for(lock, std::chrono::nanoseconds(timeout), [this] { return queued_ == 0 && !writing_; });
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
    // How long the thread waits for more records before it sleeps until woken; a record queued
    // meanwhile reaches the file at most this much later.
    static constexpr std::chrono::milliseconds nap{2};
    // The slots kept however small the batches.
    static constexpr unsigned int spare_slots = 1024;

    void assignFile(File const & file) {
        file_ = file;
        std::lock_guard<std::mutex> const lock(mutex_);
        path_ = String(file.view());
    }

    // Queues a copy into the next slot; mutex_ held.
    void push(LogMessage const & message) {
        if (queued_ < queue_.size()) {
            queue_[queued_] = message;
        } else {
            queue_.add(message);
        }
        ++queued_;
    }

    // Keeps the written batch's records as slots, but not many more than a batch needs.
    void trimBatch() noexcept {
        if (batch_.size() > spare_slots && batch_.size() > 4 * batch_size_) {
            batch_.setSize(batch_size_ > spare_slots ? batch_size_ : spare_slots);
        }
        batch_size_ = 0;
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
            auto const ready = [this] {
                return stop_requested_ || !is_running_.load(std::memory_order_relaxed) ||
                       (queued_ != 0 && !path_.isEmpty());
            };
            // Right after a batch the thread naps without being woken, so that a busy log costs
            // its loggers no wake-up call; a log that stays quiet puts it to sleep until woken.
            if (!changed_.wait_for(lock, nap, ready)) {
                idle_ = true;
                changed_.wait(lock, ready);
                idle_ = false;
            }
            if (stop_requested_ || !is_running_.load(std::memory_order_relaxed)) {
                return false;
            }
        }
        if (!file_.isOpen()) {
            file_.open(File::WRITE_TEXT, true);
        }
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            std::swap(batch_, queue_);
            batch_size_ = queued_;
            queued_ = 0;
            writing_ = true;
        }
        struct Done {
            AsciiWriteThread & thread;
            ~Done() {
                thread.trimBatch();
                {
                    std::lock_guard<std::mutex> const lock(thread.mutex_);
                    thread.writing_ = false;
                }
                thread.written_.notify_all();
            }
        } const done{*this};
        std::FILE * const stream = file_.filePtr();
        for (unsigned int i = 0; i < batch_size_; ++i) {
            LogMessage const & message = batch_[i];
            line_.clear();
            StringStream<LogMessage>::toString(message, line_);
            line_.append('\n');
            std::fwrite(line_.data(), 1, line_.size(), stream);
        }
        if (batch_size_ != 0) {
            file_.flush();
        }
        file_.close();
        return true;
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_; // the queue, the path or the flags changed
    std::condition_variable written_; // a batch ended
    StringAllocatingView line_;       // the thread's, reused for each line
    // The queue and the batch are two lists of records that trade places at each batch. Their
    // records stay behind as slots when a batch is written, and a record queued into a slot takes
    // over its text's storage, so that a busy log allocates nothing for its queue.
    Buffer<LogMessage> queue_;
    unsigned int queued_ = 0;  // the records in queue_; the slots behind them are spare
    Buffer<LogMessage> batch_; // the thread's
    unsigned int batch_size_ = 0;
    File file_;
    String path_;
    unsigned long long dropped_ = 0;
    unsigned int limit_ = AsciiFileOutputStream::default_queue_limit;
    bool current_session_only_ = true;
    bool stop_requested_ = false;
    bool writing_ = false;
    bool accepting_ = true;
    bool idle_ = false; // asleep until woken: the first record queued wakes it
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
