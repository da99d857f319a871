// LogManager: the registry of named pipes, the broadcast, the text log folder and binary logs.
#include "Base/Logging/LogManager.h"

#include "Base/Concurrency/RWLock.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Logging/AsciiFileOutputStream.h"
#include "Base/Logging/Log.h"
#include "Base/Logging/LogStream.h"
#include "Base/Time/Time.h"

#include <algorithm>
#include <utility>

namespace QELTA {
namespace {

constexpr char session_rule[] = "------------------------------";
constexpr char session_word[] = "Session ";
constexpr char session_time_format[] = "YYYY-MM-DD HH:mm:ss";
constexpr char log_file_ending[] = ".txt";
constexpr char no_file_mark = '|';

// The moment this process made its first log, shown in local time.
Time ProcessStart() {
    static Time const start = Time::SystemTime();
    return start;
}

String SessionHeader() {
    StringAllocatingView text;
    text.append(StringView(session_rule));
    text.append(StringView(session_word));
    ProcessStart().appendTo(text, true, StringView(session_time_format));
    text.append(StringView(session_rule));
    return String(text.view());
}

LogMessage SessionMark(StringView const & text) {
    return LogMessage(Time::SystemTime(), text, LogManager::information_level, LogManager::foreign_session);
}

} // namespace

LogManager::LogManager() = default;

LogManager::~LogManager() {
    Dictionary<String, AsciiFileOutputStream *> ascii;
    {
        WLock const lock(&ascii_streams_);
        ascii = std::move(ascii_streams_);
    }
    for (auto & entry : ascii) {
        delete entry.value();
    }
    Buffer<LogStream *> streams;
    {
        WLock const lock(&streams_);
        streams = std::move(streams_);
    }
    for (LogStream * stream : streams) {
        stream->removePipe(this);
    }
    Buffer<InfoPipe *> owned;
    {
        WLock const lock(&logs_);
        owned = std::move(owned_);
        logs_.clear();
    }
    for (InfoPipe * pipe : owned) {
        delete pipe;
    }
}

void LogManager::forEachPipe(auto && call) const {
    RLock const lock(&logs_);
    for (auto const & entry : logs_) {
        call(*entry.value());
    }
}

void LogManager::sendToStreams(auto && call) const {
    RLock const lock(&streams_);
    for (LogStream * stream : streams_) {
        if (!stream->isMuted()) {
            call(*stream);
        }
    }
}

bool LogManager::hasLog(StringView const & name) const {
    RLock const lock(&logs_);
    return logs_.contains(String(name));
}

InfoPipe * LogManager::getLog(StringView const & name) {
    WLock const lock(&logs_);
    if (auto const found = logs_.find(String(name)); found != logs_.end()) {
        return found->value();
    }
    Log * const log = new Log();
    owned_.add(log);
    log->addMessage(no_id, SessionHeader().view(), information_level);
    addLog(name, log);
    return log;
}

void LogManager::logStartupInformation(StringView const & name) {
    LogPtr const log(getLog(name));
    ApplicationResource::LogApplicationInformation(log);
    ApplicationResource::LogComputerInformation(log);
    ApplicationResource::LogOSInformation(log);
}

void LogManager::addLog(StringView const & name, InfoPipe * pipe) {
    if (pipe == this || pipe == nullptr) {
        return;
    }
    WLock const lock(&logs_);
    logs_[String(name)] = pipe;
    {
        RLock const streams(&streams_);
        for (LogStream * stream : streams_) {
            pipe->addStream(stream, false);
        }
    }
    WLock const ascii(&ascii_streams_);
    if (default_ascii_log_path_.isEmpty() || name.indexOf(no_file_mark) != StringView::not_found) {
        return;
    }
    makeAsciiStream(name, pipe);
}

void LogManager::makeAsciiStream(StringView const & name, InfoPipe * pipe) {
    String const key(name);
    if (auto const found = ascii_streams_.find(key); found != ascii_streams_.end()) {
        pipe->addStream(found->value(), true);
        return;
    }
    File file = default_ascii_log_path_;
    file.append(name);
    file.append(StringView(log_file_ending));
    auto * const stream = new AsciiFileOutputStream(file, true);
    ascii_streams_[key] = stream;
    pipe->addStream(stream, true);
}

Dictionary<String, InfoPipe *> LogManager::logs() const {
    RLock const lock(&logs_);
    return logs_;
}

AsciiFileOutputStream * LogManager::asciiStream(StringView const & name) const {
    RLock const lock(&ascii_streams_);
    auto const found = ascii_streams_.find(String(name));
    return found != ascii_streams_.end() ? found->value() : nullptr;
}

void LogManager::setDefaultAsciiLogPath(File const & path, MoveMode mode) {
    File folder = path;
    if (!folder.isEmpty() && !folder.isDirectory()) {
        folder.append('\\');
    }
    WLock const lock(&logs_);
    WLock const ascii(&ascii_streams_);
    if (folder.view() == default_ascii_log_path_.view()) {
        return;
    }
    default_ascii_log_path_ = folder;
    for (auto & entry : ascii_streams_) {
        AsciiFileOutputStream & stream = *entry.value();
        if (folder.isEmpty()) {
            stream.setFile(File(), true);
            continue;
        }
        File target = folder;
        target.append(entry.key().view());
        target.append(StringView(log_file_ending));
        target = target.findNonExistingSuitableName();
        switch (mode) {
        case MOVE_FILE:
            stream.moveFile(target);
            break;
        case COPY_FILE:
            stream.copyFile(target);
            break;
        case NEW_FILE:
        default:
            stream.setFile(target, true);
            break;
        }
    }
    if (folder.isEmpty()) {
        return;
    }
    for (auto const & entry : logs_) {
        if (!ascii_streams_.contains(entry.key())) {
            makeAsciiStream(entry.key().view(), entry.value());
        }
    }
}

File LogManager::defaultAsciiLogPath() const {
    RLock const lock(&ascii_streams_);
    return default_ascii_log_path_;
}

// Binary logs

void LogManager::writeToFile(BinaryFile & file, unsigned char minimum_level, CompressionMode mode) {
    writeToFile(file, minimum_level, mode, 0);
}

void LogManager::writeToFile(BinaryFile & file, unsigned char minimum_level, CompressionMode mode, unsigned int depth) {
    Buffer<String> names;
    Buffer<unsigned int> counts;
    Buffer<Time> times;
    Buffer<unsigned char> levels;
    Buffer<String> texts;
    Buffer<unsigned short> sessions;
    Buffer<LogManager *> nested;
    {
        RLock const lock(&logs_);
        for (auto const & entry : logs_) {
            if (auto const * log = dynamic_cast<Log const *>(entry.value())) {
                unsigned int kept = 0;
                for (LogMessage const & message : log->copyMessages()) {
                    if (message.logRecordLevel() >= minimum_level) {
                        times.add(message.recordTime());
                        levels.add(message.logRecordLevel());
                        texts.add(message.rawMessage());
                        sessions.add(message.sessionNumber());
                        ++kept;
                    }
                }
                if (kept != 0) {
                    names.add(entry.key());
                    counts.add(kept);
                }
            } else if (auto * manager = dynamic_cast<LogManager *>(entry.value());
                       manager != nullptr && depth + 1 < max_nesting) {
                names.add(entry.key());
                counts.add(nested_manager);
                nested.add(manager);
            }
        }
    }
    file.write(names, mode);
    file.write(counts, mode);
    file.write(times, mode);
    file.write(levels, mode);
    file.write(texts, mode);
    file.write(sessions, mode);
    for (LogManager * manager : nested) {
        manager->writeToFile(file, minimum_level, mode, depth + 1);
    }
}

void LogManager::readFromFile(BinaryFile & file, unsigned long long version) {
    readFromFile(file, version, 0);
}

void LogManager::readFromFile(BinaryFile & file, unsigned long long version, unsigned int depth) {
    Buffer<String> names;
    Buffer<unsigned int> counts;
    Buffer<Time> times;
    Buffer<unsigned char> levels;
    Buffer<String> texts;
    Buffer<unsigned short> sessions;
    file.read(names);
    file.read(counts);
    file.read(times);
    file.read(levels);
    file.read(texts);
    bool const has_sessions = version >= session_version;
    if (has_sessions) {
        file.read(sessions);
    }
    // A count that runs past a list is the file's fault: the records stop where a list ends.
    unsigned long long available = std::min({times.size(), levels.size(), texts.size()});
    if (has_sessions) {
        available = std::min<unsigned long long>(available, sessions.size());
    }
    Buffer<String> nested_names;
    {
        WLock const lock(&logs_);
        unsigned long long offset = 0;
        for (unsigned int i = 0; i < names.size(); ++i) {
            unsigned int const count = i < counts.size() ? counts[i] : 0;
            if (count == nested_manager) {
                nested_names.add(names[i]);
                continue;
            }
            unsigned long long const first = std::min<unsigned long long>(offset, available);
            unsigned long long const last = std::min<unsigned long long>(offset + count, available);
            Buffer<LogMessage> batch;
            batch.ensureCapacity(static_cast<unsigned int>(last - first + 2));
            batch.add(SessionMark(LogSessionStart()));
            for (auto r = static_cast<unsigned int>(first); r < last; ++r) {
                batch.add(
                    LogMessage(times[r], texts[r].view(), levels[r], has_sessions ? sessions[r] : foreign_session));
            }
            batch.add(SessionMark(LogSessionEnd()));
            if (auto const found = logs_.find(names[i]); found != logs_.end()) {
                found->value()->addMessages(no_id, batch);
            } else {
                Log * const log = new Log();
                owned_.add(log);
                log->insertMessages(0, batch);
                addLog(names[i].view(), log);
            }
            offset += count;
        }
    }
    if (depth + 1 >= max_nesting) {
        return;
    }
    for (String const & name : nested_names) {
        LogManager * manager = nullptr;
        {
            WLock const lock(&logs_);
            if (auto const found = logs_.find(name); found != logs_.end()) {
                manager = dynamic_cast<LogManager *>(found->value());
            }
            if (manager == nullptr) {
                manager = new LogManager();
                owned_.add(manager);
                addLog(name.view(), manager);
            }
        }
        manager->readFromFile(file, version, depth + 1);
    }
}

// The pipe operations

void LogManager::addMessage(unsigned int index, TranslatedString const & text, unsigned char level) {
    addMessage(index, LogMessage(text, level));
}

void LogManager::addMessage(unsigned int index, StringView const & text, unsigned char level) {
    addMessage(index, LogMessage(text, level));
}

void LogManager::addMessage(unsigned int index, LogMessage const & message) {
    RLock const lock(&logs_);
    forEachPipe([&](InfoPipe & pipe) { pipe.addMessage(index, message); });
    sendToStreams([&](LogStream & stream) { stream.addMessage(index, message); });
}

void LogManager::addMessages(unsigned int index, Buffer<LogMessage> const & messages) {
    RLock const lock(&logs_);
    forEachPipe([&](InfoPipe & pipe) { pipe.addMessages(index, messages); });
    sendToStreams([&](LogStream & stream) { stream.addMessages(index, messages); });
}

void LogManager::addStream(LogStream * stream, bool send_existing) {
    if (stream == nullptr) {
        return;
    }
    forEachPipe([&](InfoPipe & pipe) { pipe.addStream(stream, send_existing); });
    WLock const lock(&streams_);
    if (!streams_.contains(stream)) {
        stream->addPipe(this);
        streams_.add(stream);
    }
}

void LogManager::removeStream(LogStream * stream) {
    forEachPipe([&](InfoPipe & pipe) { pipe.removeStream(stream); });
    WLock const lock(&streams_);
    if (unsigned int const at = streams_.indexOf(stream); at != Buffer<LogStream *>::not_found) {
        streams_.removeIndex(at);
        stream->removePipe(this);
    }
}

bool LogManager::cancelRequested() const {
    RLock const lock(&logs_);
    for (auto const & entry : logs_) {
        if (entry.value()->cancelRequested()) {
            return true;
        }
    }
    return false;
}

void LogManager::requestCancel(unsigned int index) {
    forEachPipe([&](InfoPipe & pipe) { pipe.requestCancel(index); });
}

void LogManager::requestCancel() {
    forEachPipe([](InfoPipe & pipe) { pipe.requestCancel(); });
}

float LogManager::progressIdx(unsigned int index) const {
    RLock const lock(&logs_);
    auto const first = logs_.begin();
    return first != logs_.end() ? first->value()->progressIdx(index) : progress_done;
}

void LogManager::addInput(StringView const & text) {
    forEachPipe([&](InfoPipe & pipe) { pipe.addInput(text); });
}

void LogManager::addInput(StringView const & text, unsigned int index) {
    forEachPipe([&](InfoPipe & pipe) { pipe.addInput(text, index); });
}

void LogManager::addProgressSource(TranslatedString const & title, unsigned int index, float progress) {
    forEachPipe([&](InfoPipe & pipe) { pipe.addProgressSource(title, index, progress); });
}

unsigned int LogManager::addProgressSource(TranslatedString const & title, float progress) {
    unsigned int const id = NewId();
    addProgressSource(title, id, progress);
    return id;
}

void LogManager::removeProgressSource(unsigned int index) {
    forEachPipe([&](InfoPipe & pipe) { pipe.removeProgressSource(index); });
}

void LogManager::setProgressIdx(unsigned int index, float progress) {
    forEachPipe([&](InfoPipe & pipe) { pipe.setProgressIdx(index, progress); });
}

void LogManager::addCancelGuard(TranslatedString const & title, unsigned int index) {
    forEachPipe([&](InfoPipe & pipe) { pipe.addCancelGuard(title, index); });
}

unsigned int LogManager::addCancelGuard(TranslatedString const & title) {
    unsigned int const id = NewId();
    addCancelGuard(title, id);
    return id;
}

void LogManager::removeCancelGuard(unsigned int index) {
    forEachPipe([&](InfoPipe & pipe) { pipe.removeCancelGuard(index); });
}

bool LogManager::cancelRequestedIdx(unsigned int index) const {
    RLock const lock(&logs_);
    for (auto const & entry : logs_) {
        if (entry.value()->cancelRequestedIdx(index)) {
            return true;
        }
    }
    return false;
}

void LogManager::addInputGuard(TranslatedString const & title, unsigned int index) {
    forEachPipe([&](InfoPipe & pipe) { pipe.addInputGuard(title, index); });
}

unsigned int LogManager::addInputGuard(TranslatedString const & title) {
    unsigned int const id = NewId();
    addInputGuard(title, id);
    return id;
}

void LogManager::removeInputGuard(unsigned int index) {
    forEachPipe([&](InfoPipe & pipe) { pipe.removeInputGuard(index); });
}

void LogManager::getInputIdx(String & out, unsigned int index, bool consume) {
    forEachPipe([&](InfoPipe & pipe) { pipe.getInputIdx(out, index, consume); });
}

void LogManager::clearInputIdx(unsigned int index) {
    forEachPipe([&](InfoPipe & pipe) { pipe.clearInputIdx(index); });
}

} // namespace QELTA
