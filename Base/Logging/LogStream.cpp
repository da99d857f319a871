// LogStream: the bookkeeping of pipes and progress sources that every stream shares.
#include "Base/Logging/LogStream.h"

#include "Base/Logging/InfoPipe.h"

#include <utility>

namespace QELTA {

LogStream::~LogStream() {
    detachFromPipes();
}

void LogStream::detachFromPipes() {
    Buffer<InfoPipe *> attached;
    {
        std::lock_guard<std::recursive_mutex> const lock(stream_mutex_);
        attached = std::move(pipes_);
        pipes_ = Buffer<InfoPipe *>();
    }
    for (InfoPipe * pipe : attached) {
        pipe->removeStream(this);
    }
}

void LogStream::addPipe(InfoPipe * pipe) {
    std::lock_guard<std::recursive_mutex> const lock(stream_mutex_);
    pipes_.add(pipe);
}

void LogStream::removePipe(InfoPipe * pipe) {
    std::lock_guard<std::recursive_mutex> const lock(stream_mutex_);
    for (unsigned int i = pipes_.size(); i > 0; --i) {
        if (pipes_[i - 1] == pipe) {
            pipes_.removeIndex(i - 1);
            return;
        }
    }
}

void LogStream::setCancelActive(bool) {}

void LogStream::setInputActive(bool) {}

void LogStream::addProgressSource(TranslatedString const & title, unsigned int id, float progress) {
    std::lock_guard<std::recursive_mutex> const lock(stream_mutex_);
    if (!sources_.contains(id)) {
        sources_.insert(id, ProgressSource{title, id, progress});
    }
}

void LogStream::removeProgressSource(unsigned int id) {
    std::lock_guard<std::recursive_mutex> const lock(stream_mutex_);
    sources_.erase(id);
}

void LogStream::addMessages(unsigned int index, Buffer<LogMessage> const & messages) {
    for (LogMessage const & message : messages) {
        addMessage(index, message);
    }
}

Buffer<InfoPipe *> LogStream::pipes() const {
    std::lock_guard<std::recursive_mutex> const lock(stream_mutex_);
    return pipes_;
}

Buffer<LogStream::ProgressSource> LogStream::progressSources() const {
    Buffer<ProgressSource> sources;
    {
        std::lock_guard<std::recursive_mutex> const lock(stream_mutex_);
        for (auto const & entry : sources_) {
            sources.add(entry.value());
        }
    }
    sources.sort([](ProgressSource const & a, ProgressSource const & b) { return a.id < b.id; });
    return sources;
}

} // namespace QELTA
