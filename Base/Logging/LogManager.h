// LogManager: a named registry of pipes that broadcasts what it is given to all of them and to
// its own streams, keeps a text log file for each name, and writes and reads binary logs.
//
// The manager does not own the pipes given to addLog, nor the streams given to addStream. It owns
// what it makes: the Logs of getLog, the pipes of readFromFile and the file stream of each name,
// and frees them in its destructor. Three read/write locks (Base/Concurrency/RWLock.h), named by
// the addresses of its three tables, guard the pipes, the streams and the file streams; the order
// is the pipes first, then either of the others. Its pipe operations hold the read lock on the
// pipes while calling them, so a pipe or stream may not add a log from within such a call. The
// file operations raise what File and AsciiFileOutputStream raise; readFromFile raises what
// BinaryFile raises on a block that does not fit, and keeps what it read before.
#pragma once

#include "Base/Export.h"
#include "Base/Files/BinaryFile.h"
#include "Base/Files/Compressor.h"
#include "Base/Files/File.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class AsciiFileOutputStream;
class LogStream;

// Binary log layout, written by writeToFile as BinaryFile blocks with the caller's compression:
//   1 names                Buffer<String>, one for each log with kept records, and for each
//                          nested manager
//   2 counts               Buffer<unsigned int>, the records kept of each name; 0xFFFFFFFF
//                          marks a nested manager
//   3 record times         Buffer<Time>, all kept records, log after log
//   4 levels               Buffer<unsigned char>
//   5 texts                Buffer<String>
//   6 sessions             Buffer<unsigned short>; absent in files older than session_version
//   7 each nested manager in the order of its name, the same layout again
class QELTA_BASE_EXPORT LogManager : public InfoPipe {
  public:
    // What setDefaultAsciiLogPath does with a log that has a file already.
    enum MoveMode : unsigned char {
        MOVE_FILE = 0,
        COPY_FILE = 1,
        NEW_FILE = 2,
    };

    // The count of a nested manager in a binary log.
    static constexpr unsigned int nested_manager = 0xFFFFFFFFu;
    // The first format version whose binary logs keep session numbers.
    static constexpr unsigned long long session_version = 1762047417ull;
    // The session of records that were not made by this run.
    static constexpr unsigned short foreign_session = 65535;
    // How deep nested managers are written and read; deeper ones are left out.
    static constexpr unsigned int max_nesting = 32;
    // The level of the session header, the start and end marks and informative lines.
    static constexpr unsigned char information_level = 2;

    LogManager();
    LogManager(LogManager const &) = delete;
    LogManager & operator=(LogManager const &) = delete;
    ~LogManager() override;

    bool hasLog(StringView const & name) const;
    // The pipe of `name`. A new name gets a Log that begins with the session header
    // "------------------------------Session YYYY-MM-DD HH:mm:ss------------------------------"
    // (the local time at which this process made its first log) at information_level, which
    // is then added as by addLog.
    InfoPipe * getLog(StringView const & name);
    // The application's, the computer's and the system's description (ApplicationResource) as
    // labelled lines into the pipe of getLog(name).
    void logStartupInformation(StringView const & name);
    // Enters `pipe` under `name` (not the manager itself) and attaches the manager's streams to
    // it. With a log folder set, a name without '|' also gets its file "[folder][name].txt",
    // appended to, which receives what the pipe logged so far.
    void addLog(StringView const & name, InfoPipe * pipe);
    // A copy of the table of names and pipes.
    Dictionary<String, InfoPipe *> logs() const;
    // The file stream of `name`, or null.
    AsciiFileOutputStream * asciiStream(StringView const & name) const;

    // Sets the folder of the text logs; an equal path does nothing. Each existing file stream
    // goes on in the new folder under a free name, by `mode`: its file moved, copied, or a new
    // file begun. An empty path leaves the streams without a file, queueing. Names without a file
    // stream get one.
    void setDefaultAsciiLogPath(File const & path, MoveMode mode);
    File defaultAsciiLogPath() const;

    // Writes the records at or above `minimum_level` of every Log, and nested managers, in the
    // layout above.
    void writeToFile(BinaryFile & file, unsigned char minimum_level, CompressionMode mode);
    // Reads that layout; the session list only when `version` is at least session_version, and
    // without it every record gets foreign_session. Each name's records arrive between a start
    // and an end mark made now, of foreign_session at information_level: appended to the name's
    // pipe, or a new Log. Counts that run past the lists are cut to what the lists hold.
    void readFromFile(BinaryFile & file, unsigned long long version);

    // Every operation goes to each pipe; messages then to each unmuted stream of the manager.
    void addMessage(unsigned int index, TranslatedString const & text, unsigned char level) override;
    void addMessage(unsigned int index, StringView const & text, unsigned char level) override;
    void addMessage(unsigned int index, LogMessage const & message) override;
    void addMessages(unsigned int index, Buffer<LogMessage> const & messages) override;
    // Attaches the stream to every pipe, then to the manager itself once.
    void addStream(LogStream * stream, bool send_existing) override;
    void removeStream(LogStream * stream) override;
    // True at the first pipe that says so.
    bool cancelRequested() const override;
    void requestCancel(unsigned int index) override;
    void requestCancel() override;
    // The first pipe's answer; 1 without pipes.
    float progressIdx(unsigned int index) const override;
    void addInput(StringView const & text) override;
    void addInput(StringView const & text, unsigned int index) override;
    // The forms that make an id take one and register it on every pipe.
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
    // Appends what every pipe holds for the guard.
    void getInputIdx(String & out, unsigned int index, bool consume) override;
    void clearInputIdx(unsigned int index) override;

  private:
    void forEachPipe(auto && call) const;
    void sendToStreams(auto && call) const;
    // Makes and attaches the file stream of `name`; the locks on logs_ and ascii_streams_ held.
    void makeAsciiStream(StringView const & name, InfoPipe * pipe);
    void writeToFile(BinaryFile & file, unsigned char minimum_level, CompressionMode mode, unsigned int depth);
    void readFromFile(BinaryFile & file, unsigned long long version, unsigned int depth);

    Dictionary<String, InfoPipe *> logs_;
    Buffer<LogStream *> streams_;
    Dictionary<String, AsciiFileOutputStream *> ascii_streams_;
    File default_ascii_log_path_; // under the lock of ascii_streams_
    Buffer<InfoPipe *> owned_;    // what getLog and readFromFile made; under the lock of logs_
};

} // namespace QELTA
