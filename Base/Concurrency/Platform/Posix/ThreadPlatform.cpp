// Thread ids and names on Linux: gettid and pthread_getname_np.
#include "Base/Concurrency/Platform/ThreadPlatform.h"

#include <pthread.h>
#include <unistd.h>

namespace QELTA {

unsigned long long ThreadPlatform::CurrentThreadId() noexcept {
    return static_cast<unsigned long long>(gettid());
}

String ThreadPlatform::CurrentThreadName() {
    char name[64] = {};
    if (pthread_getname_np(pthread_self(), name, sizeof(name)) != 0) {
        return String();
    }
    return String(name);
}

void ThreadPlatform::SetCurrentThreadName(StringView const & name) noexcept {
    constexpr unsigned int longest = 15;
    unsigned int size = name.size() < longest ? name.size() : longest;
    if (size < name.size()) {
        while (size > 0 && (static_cast<unsigned char>(name[size]) & 0xC0) == 0x80) {
            --size; // the byte after the cut continues a sequence: cut before that sequence
        }
    }
    char cut[longest + 1] = {};
    for (unsigned int index = 0; index < size && name[index] != 0; ++index) {
        cut[index] = name[index];
    }
    pthread_setname_np(pthread_self(), cut);
}

bool ThreadPlatform::KeepAwake(bool /*on*/) noexcept {
    return false;
}

} // namespace QELTA
