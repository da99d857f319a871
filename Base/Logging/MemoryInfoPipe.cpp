// MemoryInfoPipe: the remembering pipe behind one mutex.
#include "Base/Logging/MemoryInfoPipe.h"

namespace QELTA {

MemoryInfoPipe::~MemoryInfoPipe() = default;

Buffer<LogMessage> MemoryInfoPipe::messages() const {
    std::lock_guard<std::mutex> const lock(mutex_);
    return messages_;
}

std::vector<MemoryInfoPipe::ProgressSource> MemoryInfoPipe::progressSources() const {
    std::lock_guard<std::mutex> const lock(mutex_);
    std::vector<ProgressSource> sources;
    sources.reserve(progress_sources_.size());
    for (auto const & entry : progress_sources_) {
        sources.push_back(entry.second);
    }
    return sources;
}

unsigned int MemoryInfoPipe::cancelGuardCount() const {
    std::lock_guard<std::mutex> const lock(mutex_);
    return static_cast<unsigned int>(cancel_guards_.size());
}

unsigned int MemoryInfoPipe::inputGuardCount() const {
    std::lock_guard<std::mutex> const lock(mutex_);
    return static_cast<unsigned int>(input_guards_.size());
}

void MemoryInfoPipe::addMessage(unsigned int index, TranslatedString const & text, unsigned char level) {
    addMessage(index, LogMessage(text, level));
}

void MemoryInfoPipe::addMessage(unsigned int index, StringView const & text, unsigned char level) {
    addMessage(index, LogMessage(text, level));
}

void MemoryInfoPipe::addMessage(unsigned int, LogMessage const & message) {
    std::lock_guard<std::mutex> const lock(mutex_);
    messages_.add(message);
}

void MemoryInfoPipe::addMessages(unsigned int, Buffer<LogMessage> const & messages) {
    std::lock_guard<std::mutex> const lock(mutex_);
    messages_.addAll(messages);
}

bool MemoryInfoPipe::cancelRequested() const {
    std::lock_guard<std::mutex> const lock(mutex_);
    for (auto const & entry : cancel_guards_) {
        if (entry.second.cancel_requested) {
            return true;
        }
    }
    return false;
}

void MemoryInfoPipe::requestCancel(unsigned int index) {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const found = cancel_guards_.find(index);
    if (found != cancel_guards_.end()) {
        found->second.cancel_requested = true;
    }
}

void MemoryInfoPipe::requestCancel() {
    std::lock_guard<std::mutex> const lock(mutex_);
    for (auto & entry : cancel_guards_) {
        entry.second.cancel_requested = true;
    }
}

float MemoryInfoPipe::progressIdx(unsigned int index) const {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const found = progress_sources_.find(index);
    return found != progress_sources_.end() ? found->second.progress : 0.0f;
}

void MemoryInfoPipe::addInput(StringView const & text) {
    std::lock_guard<std::mutex> const lock(mutex_);
    for (auto & entry : input_guards_) {
        entry.second.pending.append(text);
    }
}

void MemoryInfoPipe::addInput(StringView const & text, unsigned int index) {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const found = input_guards_.find(index);
    if (found != input_guards_.end()) {
        found->second.pending.append(text);
    }
}

void MemoryInfoPipe::addProgressSource(TranslatedString const & title, unsigned int index, float progress) {
    LogMessage title_message(title, progress_title_level);
    std::lock_guard<std::mutex> const lock(mutex_);
    progress_sources_.insert_or_assign(index, ProgressSource{index, title, progress});
    messages_.add(std::move(title_message));
}

unsigned int MemoryInfoPipe::addProgressSource(TranslatedString const & title, float progress) {
    unsigned int const id = NewId();
    addProgressSource(title, id, progress);
    return id;
}

void MemoryInfoPipe::removeProgressSource(unsigned int index) {
    std::lock_guard<std::mutex> const lock(mutex_);
    progress_sources_.erase(index);
}

void MemoryInfoPipe::setProgressIdx(unsigned int index, float progress) {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const found = progress_sources_.find(index);
    if (found != progress_sources_.end()) {
        found->second.progress = progress;
    }
}

void MemoryInfoPipe::addCancelGuard(TranslatedString const & title, unsigned int index) {
    std::lock_guard<std::mutex> const lock(mutex_);
    cancel_guards_.insert_or_assign(index, CancelGuard{title, false});
}

unsigned int MemoryInfoPipe::addCancelGuard(TranslatedString const & title) {
    unsigned int const id = NewId();
    addCancelGuard(title, id);
    return id;
}

void MemoryInfoPipe::removeCancelGuard(unsigned int index) {
    std::lock_guard<std::mutex> const lock(mutex_);
    cancel_guards_.erase(index);
}

bool MemoryInfoPipe::cancelRequestedIdx(unsigned int index) const {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const found = cancel_guards_.find(index);
    return found != cancel_guards_.end() && found->second.cancel_requested;
}

void MemoryInfoPipe::addInputGuard(TranslatedString const & title, unsigned int index) {
    std::lock_guard<std::mutex> const lock(mutex_);
    input_guards_.insert_or_assign(index, InputGuard{title, String()});
}

unsigned int MemoryInfoPipe::addInputGuard(TranslatedString const & title) {
    unsigned int const id = NewId();
    addInputGuard(title, id);
    return id;
}

void MemoryInfoPipe::removeInputGuard(unsigned int index) {
    std::lock_guard<std::mutex> const lock(mutex_);
    input_guards_.erase(index);
}

void MemoryInfoPipe::getInputIdx(String & out, unsigned int index, bool consume) {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const found = input_guards_.find(index);
    if (found == input_guards_.end()) {
        return;
    }
    out.append(found->second.pending.view());
    if (consume) {
        found->second.pending.clear();
    }
}

void MemoryInfoPipe::clearInputIdx(unsigned int index) {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const found = input_guards_.find(index);
    if (found != input_guards_.end()) {
        found->second.pending.clear();
    }
}

} // namespace QELTA
