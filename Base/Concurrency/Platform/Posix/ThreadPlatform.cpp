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

} // namespace QELTA
