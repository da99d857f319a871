// MemoryInfoPipe: an InfoPipe that only remembers, for tests, tools and short-lived work.
//
// It owns copies of everything it is given. It is thread-safe: every operation takes one mutex,
// which is never held while calling out, so it may be shared by any number of threads. It has no
// streams (addStream does nothing) and raises nothing of its own.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <map>
#include <mutex>
#include <vector>

namespace QELTA {

// Keeps every message, in the order received, and the live progress sources, cancel guards and
// input guards, each under its id. Registering a progress source also adds its title as a
// message at level 10 with the source's id as index. A progress, flag or pending text asked for
// under an id that is not registered is 0, false or empty; changes to such ids are ignored.
// Cancel requests and input follow the cooperative rules of InfoPipe: they reach only the
// guards registered at that moment.
class QELTA_BASE_EXPORT MemoryInfoPipe : public InfoPipe {
  public:
    static constexpr unsigned char progress_title_level = 10;

    struct ProgressSource {
        unsigned int id;
        TranslatedString title;
        float progress;
    };

    MemoryInfoPipe() = default;
    MemoryInfoPipe(MemoryInfoPipe const &) = delete;
    MemoryInfoPipe & operator=(MemoryInfoPipe const &) = delete;
    ~MemoryInfoPipe() override;

    // Copies, taken under the mutex.
    Buffer<LogMessage> messages() const;
    std::vector<ProgressSource> progressSources() const; // by ascending id
    unsigned int cancelGuardCount() const;
    unsigned int inputGuardCount() const;

    void addMessage(unsigned int index, TranslatedString const & text, unsigned char level) override;
    void addMessage(unsigned int index, StringView const & text, unsigned char level) override;
    void addMessage(unsigned int index, LogMessage const & message) override;
    void addMessages(unsigned int index, Buffer<LogMessage> const & messages) override;
    bool cancelRequested() const override;
    void requestCancel(unsigned int index) override;
    void requestCancel() override;
    // The stored progress; 0 for an id that is not registered.
    float progressIdx(unsigned int index) const override;
    void addInput(StringView const & text) override;
    void addInput(StringView const & text, unsigned int index) override;
    // Registers the source, replacing one with the same id.
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

  private:
    struct CancelGuard {
        TranslatedString title;
        bool cancel_requested;
    };
    struct InputGuard {
        TranslatedString title;
        String pending;
    };

    mutable std::mutex mutex_; // guards every field below
    Buffer<LogMessage> messages_;
    std::map<unsigned int, ProgressSource> progress_sources_;
    std::map<unsigned int, CancelGuard> cancel_guards_;
    std::map<unsigned int, InputGuard> input_guards_;
};

} // namespace QELTA
