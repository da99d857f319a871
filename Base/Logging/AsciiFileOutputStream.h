// AsciiFileOutputStream: the text log file, written by a background thread so that logging never
// waits for the disk, and read back by ReadLogFile.
//
// The stream owns its "Log File Thread" and the queue between the loggers and that thread. A
// logger only copies its record into the queue under the queue's mutex; the thread takes the
// whole queue at once, appends it to the file one line a record, flushes and closes the file, and
// waits 2 ms for more before it sleeps until the next record wakes it, so that a busy log costs
// its loggers no wake-up and a record reaches the disk within milliseconds of its logging. So
// between batches the file stands closed and complete, another process may read or move it, and
// a crash loses only what was still queued or half written. The queue holds at most
// queueLimit() records: while it is full, new records are dropped and counted in
// droppedMessages(), so a disk that is full, slow or gone costs lost lines, never a blocked
// logger or unbounded memory. Failures of the disk are caught on the thread and reported
// nowhere: an open that fails keeps the queue and is tried again 100 ms later, a write that
// fails drops its batch. The file operations of the owner (setFile, moveFile, copyFile) stop
// and start the thread, and raise what File raises; records logged meanwhile wait in the queue.
//
// File format: UTF-8, one line a record ended by a line feed, the four tab-separated fields of
// StringStream<LogMessage>: time "YY-MM-DD HH:mm:ss:ffffff" (UTC), text with line feed, carriage
// return and tab shown as backslash sequences and ANSI sequences removed, level, session.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Logging/LogStream.h"
#include "Base/Text/Buffer.h"

#include <atomic>

namespace QELTA {

namespace Internal {
class AsciiWriteThread;
}

// By default only records of the current session (CurrentLogSession) are written, so that a
// stream attached with send_existing to a log read from older files writes this run alone.
class QELTA_BASE_EXPORT AsciiFileOutputStream : public LogStream {
  public:
    // The thread's name, as the system and the thread registry show it.
    static constexpr char thread_name[] = "Log File Thread";
    static constexpr unsigned int default_queue_limit = 1u << 18;

    // Starts the thread on a copy of `file`. Without `append` an existing file is emptied at
    // once and held open for the first batch. An empty path keeps records queued until setFile.
    AsciiFileOutputStream(File const & file, bool append);
    // Detaches from every pipe and stops the thread; records still queued are not written.
    ~AsciiFileOutputStream() override;

    // Progress is not written.
    void setProgress(unsigned int id, float progress) override;
    // Queues a copy unless muted, of another session while the filter is on, or the queue is full.
    void addMessage(unsigned int index, LogMessage const & message) override;
    void addMessages(unsigned int index, Buffer<LogMessage> const & messages) override;

    // The file the thread writes to.
    File file() const;
    // Stops the thread, points it at `file` (emptied at once without `append`) and starts it.
    void setFile(File const & file, bool append);
    // Stops the thread, moves the present file (when it exists) onto `target`, replacing it, and
    // goes on appending there. Raises what File::moveTo raises; the thread then goes on with the
    // present file.
    void moveFile(File target);
    // The same with a copy: the present file stays.
    void copyFile(File target);

    // Whether records of other sessions are dropped (both of the stream's filters).
    void setCurrentSessionOnly(bool only) noexcept;

    // Waits until the queue is empty and no batch is being written, or `timeout` nanoseconds
    // passed. True when everything queued so far has been written or dropped.
    bool waitUntilWritten(unsigned long long timeout);
    // Records dropped because the queue was full.
    unsigned long long droppedMessages() const;
    unsigned int queueLimit() const;
    // At least 1.
    void setQueueLimit(unsigned int limit);

    // Writes every record of `log` (all sessions) to `file`, replacing it, and returns when the
    // file is complete or after 10 s.
    static void WriteLogFile(LogPtr log, File const & file);
    // Reads a text log through a temporary copy, so that a log in use can be read, and gives
    // each line with text to log.addMessage(log.index(), record). The fields are read in the
    // order time, level, session, text, which is not the order written: a file of this stream
    // read so gets level 255 unless its text is a number, and its level text as the text. This
    // is deliberate and stays; StringStream<LogMessage>::fromString reads the written order.
    // Raises what File::open and BufferedScanner raise; a line that does not parse gives empty
    // fields, never a failure.
    static void ReadLogFile(LogPtr log, File const & file);

  private:
    Internal::AsciiWriteThread * write_thread_;
    std::atomic<bool> current_session_only_{true};
};

} // namespace QELTA
