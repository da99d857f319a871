// Resource<T>: an observable value, and ResourceListener, the observers it tells of each change.
//
// Ownership: a listener that is attached is owned jointly by the resources that list it. A
// resource's destructor deletes each listener that it leaves without any parent resource, so an
// attached listener must come from `new` unless it is detached before its last resource dies.
// removeListener and disconnectListener unlink and never delete.
//
// Thread-safety: any thread may change a resource; the listeners run on that thread, in the order
// of attachment, before the setter returns, under the read lock (RWLock.h) named by the address
// of the listener list. Attaching and detaching take that name's write lock. The value itself has
// no lock: a reader on another thread may see a new value before the listeners are told, and a
// value shared by several writing threads must bring its own atomicity. A listener that is running
// on one thread is skipped by notifications that other threads send meanwhile.
//
// Failure: nothing is reported here. An exception from onValueChanged reaches the writer of the
// value; the lock is released on the way, and that listener stays silent until disable(true).
//
// Rules for callers:
// - Inside onValueChanged, never attach or detach a listener on a resource that is notifying
//   on this thread: that asks for the write lock of a list whose read lock this thread holds, and
//   a read lock cannot be upgraded, so the thread waits forever.
// - refreshListeners reads the list's count without the lock, so that resources nobody watches
//   cost nothing. A stale count only moves a change before or after a concurrent attach, but the
//   read is a data race for the memory model and for TSan: attach and detach before other threads
//   start changing the resource, or accept that race.
// - An override of addInfoParent or removeInfoParent must call the base version.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"

#include <atomic>
#include <functional>
#include <utility>

namespace QELTA {

class ResourceListener;

// The listener list of a resource, without the value. An empty resource holds no heap memory and
// takes no lock. A listener may be listed more than once; each entry is notified and each
// removal takes one entry.
class QELTA_BASE_EXPORT ResourceBase {
  public:
    ResourceBase() noexcept = default;
    // The copy lists the same listeners and registers itself with each, so they hear it too.
    ResourceBase(ResourceBase const & other);
    // Copies the list only and tells no listener, old or new. The asymmetry with the copy
    // constructor is deliberate and callers rely on it; do not make the two agree.
    ResourceBase & operator=(ResourceBase const & other);
    // Unregisters from each listener and deletes those left without a parent. Takes no lock.
    virtual ~ResourceBase();

    // Attaches `listener` (never null) and calls it once unless it is disabled; returns it.
    ResourceListener * addListener(ResourceListener * listener) const;
    // Attaches `listener`; calls it once unless `skip_first_call` or it is disabled.
    void addListener(ResourceListener * listener, bool skip_first_call) const;
    // Unlists the last entry of `listener` (none if absent), then always calls its
    // removeInfoParent(this). Never deletes.
    void removeListener(ResourceListener * listener) const;

    // Tells every enabled listener, as on a change of the value.
    void refreshListeners();

  private:
    void attach(ResourceListener * listener) const;

    // Attaching does not change the value: a const resource may be observed.
    mutable Buffer<ResourceListener *> listeners_;
};

// A value of type T that tells its listeners when set() changes it. T needs copying and an
// `operator==`; the value is held inline.
template <class T>
class Resource : public ResourceBase {
  public:
    Resource() = default;
    explicit Resource(T value) : value_(std::move(value)) {}
    Resource(Resource const &) = default;
    Resource & operator=(Resource const &) = default; // copies the value and tells nobody
    ~Resource() override = default;

    T const & value() const noexcept { return value_; }
    operator T const &() const noexcept { return value_; }

    // An equal value (by T's ==) changes nothing and tells nobody; any other is assigned, then
    // the listeners are told.
    void set(T const & value) {
        if (value_ == value) {
            return;
        }
        value_ = value;
        refreshListeners();
    }
    void set(T && value) {
        if (value_ == value) {
            return;
        }
        value_ = std::move(value);
        refreshListeners();
    }

  private:
    T value_{};
};

// The observer of resources. It keeps the list of resources it is attached to, its info parents,
// in the order of attachment, so that either side can detach from the other when it dies.
class QELTA_BASE_EXPORT ResourceListener {
  public:
    ResourceListener() noexcept = default;
    // Both copy the parents and the enabled flag without telling those parents, so no resource
    // lists the copy until it is added to one.
    ResourceListener(ResourceListener const & other);
    ResourceListener & operator=(ResourceListener const & other);
    // Detaches from every parent.
    virtual ~ResourceListener();

    virtual void addInfoParent(ResourceBase const * parent);
    // Forgets the last entry of `parent`; an absent parent changes nothing.
    virtual void removeInfoParent(ResourceBase const * parent);
    virtual void onValueChanged() = 0;

    // Stores its argument as the enabled flag: disable(true) enables and disable(false)
    // disables; the inverted name is old and every caller depends on that sense.
    void disable(bool enabled) noexcept { enabled_.store(enabled); }
    // Calls onValueChanged once if enabled, with the flag cleared for the length of the call, so
    // that a listener that sets its own resource is not called again for that change. Takes no
    // lock. If onValueChanged throws, the flag stays cleared.
    void changeValue();
    // Detaches from every parent, last first.
    void disconnectListener();
    unsigned int getInfoParentSize() const noexcept { return info_parents_.size(); }

  private:
    Buffer<ResourceBase const *> info_parents_;
    std::atomic<bool> enabled_{true};
};

// A listener that calls a stored function. With no function stored, a change raises
// std::bad_function_call to the writer of the value.
class QELTA_BASE_EXPORT BasicResourceListener : public ResourceListener {
  public:
    BasicResourceListener() = default;
    explicit BasicResourceListener(std::function<void()> callback) : callback_(std::move(callback)) {}
    BasicResourceListener(BasicResourceListener const &) = default;
    BasicResourceListener & operator=(BasicResourceListener const &) = default;
    ~BasicResourceListener() override;

    void onValueChanged() override;

  private:
    std::function<void()> callback_;
};

} // namespace QELTA
