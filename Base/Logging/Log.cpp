// Log: the remembered messages, the live sources and guards, and the fan-out to streams.
#include "Base/Logging/Log.h"

#include "Base/Logging/LogStream.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace QELTA {
namespace {

constexpr unsigned int initial_room = 10;

using Lock = std::lock_guard<std::recursive_mutex>;

// The progress rule of setProgressIdx: a change of state (NaN or done) always passes.
bool ProgressChanged(float stored, float progress) noexcept {
    if (std::isnan(stored) != std::isnan(progress)) {
        return true;
    }
    if ((stored >= 1.0f) != (progress >= 1.0f)) {
        return true;
    }
    return std::fabs(progress - stored) > Log::progress_threshold;
}

} // namespace

Log::Log(unsigned long long) {
    ensureCapacity(initial_room);
}

Log::Log(Log const & other) : InfoPipe(other), Buffer<LogMessage>(other.copyMessages()) {
    Buffer<LogStream *> streams;
    {
        Lock const lock(other.mutex_);
        streams = other.streams_;
    }
    for (LogStream * stream : streams) {
        addStream(stream, false);
    }
}

Log::~Log() {
    Buffer<LogStream *> streams;
    {
        Lock const lock(mutex_);
        streams = std::move(streams_);
        streams_ = Buffer<LogStream *>();
    }
    for (LogStream * stream : streams) {
        stream->removePipe(this);
    }
}

void Log::forEachStream(bool skip_muted, auto && call) {
    for (LogStream * stream : streams_) {
        if (!skip_muted || !stream->isMuted()) {
            call(*stream);
        }
    }
}

void Log::insertMessages(unsigned int position, Buffer<LogMessage> const & messages) {
    Lock const lock(mutex_);
    Buffer<LogMessage> & list = *this;
    position = std::min(position, list.size());
    Buffer<LogMessage> merged;
    merged.ensureCapacity(list.size() + messages.size());
    merged.append(list.data(), position);
    merged.addAll(messages);
    merged.append(list.data() + position, list.size() - position);
    list = std::move(merged);
}

void Log::concatenate(Log const & other) {
    Buffer<LogMessage> const messages = other.copyMessages();
    Lock const lock(mutex_);
    addAll(messages);
}

void Log::sortMessagesByPriority() {
    sort([](LogMessage const & a, LogMessage const & b) { return a.logRecordLevel() < b.logRecordLevel(); });
}

void Log::sortMessagesByTime() {
    sort([](LogMessage const & a, LogMessage const & b) { return a.recordTime() < b.recordTime(); });
}

LogMessage Log::getSafe(unsigned int index) const {
    Lock const lock(mutex_);
    return index < size() ? (*this)[index] : LogMessage();
}

Buffer<LogMessage> Log::copyMessages() const {
    Lock const lock(mutex_);
    return Buffer<LogMessage>(*this);
}

void Log::addMessage(unsigned int index, TranslatedString const & text, unsigned char level) {
    addOwned(index, LogMessage(text, level));
}

void Log::addMessage(unsigned int index, StringView const & text, unsigned char level) {
    addOwned(index, LogMessage(text, level));
}

void Log::addOwned(unsigned int index, LogMessage && message) {
    Lock const lock(mutex_);
    // The record's place is taken first, so that a stream logging from within the call comes
    // behind it; the record moves in once the streams have their copies.
    unsigned int const position = size();
    add(LogMessage());
    try {
        forEachStream(true, [&](LogStream & stream) { stream.addMessage(index, message); });
    } catch (...) {
        (*this)[position] = std::move(message);
        throw;
    }
    (*this)[position] = std::move(message);
}

void Log::addMessage(unsigned int index, LogMessage const & message) {
    Lock const lock(mutex_);
    add(message);
    forEachStream(true, [&](LogStream & stream) { stream.addMessage(index, message); });
}

void Log::addMessages(unsigned int index, Buffer<LogMessage> const & messages) {
    Lock const lock(mutex_);
    addAll(messages);
    forEachStream(true, [&](LogStream & stream) { stream.addMessages(index, messages); });
}

void Log::addStream(LogStream * stream, bool send_existing) {
    if (stream == nullptr) {
        return;
    }
    Lock const lock(mutex_);
    if (streams_.contains(stream)) {
        return;
    }
    streams_.add(stream);
    stream->addPipe(this);
    if (send_existing) {
        stream->addMessages(no_id, *this);
    }
    for (auto const & entry : progress_sources_) {
        stream->setProgress(entry.key(), entry.value().progress);
    }
}

void Log::removeStream(LogStream * stream) {
    Lock const lock(mutex_);
    for (unsigned int i = streams_.size(); i > 0; --i) {
        if (streams_[i - 1] == stream) {
            streams_.removeIndex(i - 1);
            return;
        }
    }
}

bool Log::cancelRequested() const {
    Lock const lock(mutex_);
    for (auto const & entry : cancel_guards_) {
        if (entry.value()) {
            return true;
        }
    }
    return false;
}

void Log::requestCancel(unsigned int index) {
    Lock const lock(mutex_);
    if (auto const found = cancel_guards_.find(index); found != cancel_guards_.end()) {
        found->value() = true;
    }
}

void Log::requestCancel() {
    Lock const lock(mutex_);
    for (auto & entry : cancel_guards_) {
        entry.value() = true;
    }
}

float Log::progressIdx(unsigned int index) const {
    Lock const lock(mutex_);
    auto const found = progress_sources_.find(index);
    return found != progress_sources_.end() ? found->value().progress : 0.0f;
}

void Log::addInput(StringView const & text) {
    Lock const lock(mutex_);
    for (auto & entry : input_guards_) {
        entry.value().append(text);
    }
}

void Log::addInput(StringView const & text, unsigned int index) {
    Lock const lock(mutex_);
    if (auto const found = input_guards_.find(index); found != input_guards_.end()) {
        found->value().append(text);
    }
}

void Log::addProgressSource(TranslatedString const & title, unsigned int index, float progress) {
    {
        Lock const lock(mutex_);
        progress_sources_[index] = ProgressRecord{title, index, progress};
    }
    addMessage(index, LogMessage(title, progress_title_level));
    Lock const lock(mutex_);
    forEachStream(false, [&](LogStream & stream) {
        stream.addProgressSource(title, index, progress);
        stream.setProgress(index, progress);
    });
}

unsigned int Log::addProgressSource(TranslatedString const & title, float progress) {
    unsigned int const id = NewId();
    addProgressSource(title, id, progress);
    return id;
}

void Log::removeProgressSource(unsigned int index) {
    Lock const lock(mutex_);
    progress_sources_.erase(index);
    forEachStream(false, [&](LogStream & stream) {
        stream.setProgress(index, progress_done);
        stream.removeProgressSource(index);
    });
}

void Log::setProgressIdx(unsigned int index, float progress) {
    Lock const lock(mutex_);
    auto const found = progress_sources_.find(index);
    if (found == progress_sources_.end() || !ProgressChanged(found->value().progress, progress)) {
        return;
    }
    found->value().progress = progress;
    forEachStream(true, [&](LogStream & stream) { stream.setProgress(index, progress); });
}

void Log::addCancelGuard(TranslatedString const &, unsigned int index) {
    Lock const lock(mutex_);
    cancel_guards_[index] = false;
    if (cancel_guards_.size() == 1) {
        forEachStream(false, [](LogStream & stream) { stream.setCancelActive(true); });
    }
}

unsigned int Log::addCancelGuard(TranslatedString const & title) {
    unsigned int const id = NewId();
    addCancelGuard(title, id);
    return id;
}

void Log::removeCancelGuard(unsigned int index) {
    Lock const lock(mutex_);
    if (cancel_guards_.erase(index) != 0 && cancel_guards_.isEmpty()) {
        forEachStream(false, [](LogStream & stream) { stream.setCancelActive(false); });
    }
}

bool Log::cancelRequestedIdx(unsigned int index) const {
    Lock const lock(mutex_);
    auto const found = cancel_guards_.find(index);
    return found != cancel_guards_.end() && found->value();
}

void Log::addInputGuard(TranslatedString const &, unsigned int index) {
    Lock const lock(mutex_);
    input_guards_[index] = String();
    if (input_guards_.size() == 1) {
        forEachStream(false, [](LogStream & stream) { stream.setInputActive(true); });
    }
}

unsigned int Log::addInputGuard(TranslatedString const & title) {
    unsigned int const id = NewId();
    addInputGuard(title, id);
    return id;
}

void Log::removeInputGuard(unsigned int index) {
    Lock const lock(mutex_);
    if (input_guards_.erase(index) != 0 && input_guards_.isEmpty()) {
        forEachStream(false, [](LogStream & stream) { stream.setInputActive(false); });
    }
}

void Log::getInputIdx(String & out, unsigned int index, bool consume) {
    Lock const lock(mutex_);
    auto const found = input_guards_.find(index);
    if (found == input_guards_.end()) {
        return;
    }
    out.append(found->value().view());
    if (consume) {
        found->value().clear();
    }
}

void Log::clearInputIdx(unsigned int index) {
    Lock const lock(mutex_);
    if (auto const found = input_guards_.find(index); found != input_guards_.end()) {
        found->value().clear();
    }
}

} // namespace QELTA
