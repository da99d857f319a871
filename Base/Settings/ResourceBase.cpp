// Resource listener lists: attaching, detaching, notification and the joint ownership of listeners.
#include "Base/Settings/ResourceBase.h"

#include "Base/Concurrency/RWLock.h"

namespace QELTA {
namespace {

// Removes the last entry equal to `value`; an absent value changes nothing.
template <class T>
void RemoveLast(Buffer<T> & list, T value) noexcept {
    for (unsigned int i = list.size(); i > 0; --i) {
        if (list[i - 1] == value) {
            list.removeIndex(i - 1);
            return;
        }
    }
}

} // namespace

ResourceBase::ResourceBase(ResourceBase const & other) : listeners_(other.listeners_) {
    for (ResourceListener * listener : listeners_) {
        listener->addInfoParent(this);
    }
}

ResourceBase & ResourceBase::operator=(ResourceBase const & other) {
    listeners_ = other.listeners_;
    return *this;
}

ResourceBase::~ResourceBase() {
    for (ResourceListener * listener : listeners_) {
        listener->removeInfoParent(this);
        if (listener->getInfoParentSize() == 0) {
            delete listener;
        }
    }
}

void ResourceBase::attach(ResourceListener * listener) const {
    {
        WLock const guard(&listeners_);
        listeners_.add(listener);
    }
    listener->addInfoParent(this);
}

ResourceListener * ResourceBase::addListener(ResourceListener * listener) const {
    attach(listener);
    listener->changeValue();
    return listener;
}

void ResourceBase::addListener(ResourceListener * listener, bool skip_first_call) const {
    attach(listener);
    if (!skip_first_call) {
        listener->changeValue();
    }
}

void ResourceBase::removeListener(ResourceListener * listener) const {
    {
        WLock const guard(&listeners_);
        RemoveLast(listeners_, listener);
    }
    listener->removeInfoParent(this);
}

void ResourceBase::refreshListeners() {
    if (listeners_.isEmpty()) {
        return;
    }
    RLock const guard(&listeners_);
    // A listener may set this resource again; the nested notification runs under the same
    // (recursive) read lock, and the count is read at every step.
    for (unsigned int i = 0; i < listeners_.size(); ++i) {
        listeners_[i]->changeValue();
    }
}

ResourceListener::ResourceListener(ResourceListener const & other)
    : info_parents_(other.info_parents_), enabled_(other.enabled_.load()) {}

ResourceListener & ResourceListener::operator=(ResourceListener const & other) {
    info_parents_ = other.info_parents_;
    enabled_.store(other.enabled_.load());
    return *this;
}

ResourceListener::~ResourceListener() {
    disconnectListener();
}

void ResourceListener::addInfoParent(ResourceBase const * parent) {
    info_parents_.add(parent);
}

void ResourceListener::removeInfoParent(ResourceBase const * parent) {
    RemoveLast(info_parents_, parent);
}

void ResourceListener::changeValue() {
    // The exchange lets one thread at a time through; a throw leaves the flag cleared.
    if (enabled_.exchange(false, std::memory_order_acquire)) {
        onValueChanged();
        // Release is enough: it hands the call's effects to the next thread that takes the flag.
        enabled_.store(true, std::memory_order_release);
    }
}

void ResourceListener::disconnectListener() {
    while (!info_parents_.isEmpty()) {
        info_parents_.last()->removeListener(this);
    }
}

BasicResourceListener::~BasicResourceListener() = default;

void BasicResourceListener::onValueChanged() {
    callback_();
}

} // namespace QELTA
