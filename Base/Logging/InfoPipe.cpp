// InfoPipe's defaults and id counter, LogPtr's key function and the three scope guards.
#include "Base/Logging/InfoPipe.h"

#include "Base/Language/TranslatedString.h"

#include <atomic>

namespace QELTA {

unsigned int InfoPipe::NewId() noexcept {
    static std::atomic<unsigned int> counter{0};
    return counter.fetch_add(1, std::memory_order_relaxed) + 1;
}

InfoPipe::~InfoPipe() = default;

void InfoPipe::addStream(LogStream *, bool) {}

void InfoPipe::removeStream(LogStream *) {}

float InfoPipe::progressIdx(unsigned int) const {
    return progress_done;
}

void InfoPipe::getInputIdx(String &, unsigned int, bool) {}

// The key function of LogPtr: its virtual table lives in the library.
LogPtr::~LogPtr() = default;

// Guards

ProgressInfo::ProgressInfo(TranslatedString const & title, LogPtr const & log, float progress) : LogPtr(log) {
    index_ = pipe_ != nullptr ? pipe_->addProgressSource(title, progress) : no_id;
}

ProgressInfo::~ProgressInfo() noexcept {
    if (pipe_ != nullptr) {
        pipe_->setProgressIdx(index_, progress_done);
        pipe_->removeProgressSource(index_);
    }
}

void ProgressInfo::setProgress(float progress) {
    if (pipe_ != nullptr) {
        pipe_->setProgressIdx(index_, progress);
    }
}

CancelInfo::CancelInfo(TranslatedString const & title, LogPtr const & log) : LogPtr(log) {
    index_ = pipe_ != nullptr ? pipe_->addCancelGuard(title) : no_id;
}

CancelInfo::~CancelInfo() noexcept {
    if (pipe_ != nullptr) {
        pipe_->removeCancelGuard(index_);
    }
}

bool CancelInfo::cancelRequested() const {
    return pipe_ != nullptr && pipe_->cancelRequestedIdx(index_);
}

InputInfoPipe::InputInfoPipe(TranslatedString const & title, LogPtr const & log)
    : LogPtr(log), input_index_(pipe_ != nullptr ? pipe_->addInputGuard(title) : no_id) {}

InputInfoPipe::~InputInfoPipe() noexcept {
    if (pipe_ != nullptr) {
        pipe_->removeInputGuard(input_index_);
    }
}

String InputInfoPipe::getInput() {
    String input;
    if (pipe_ != nullptr) {
        pipe_->getInputIdx(input, input_index_, true);
    }
    return input;
}

} // namespace QELTA
