// ConstPointer and DynamicPointer: shared-ownership handles on a heap object and a 32-bit count.
//
// A handle is two pointers: a separately malloc'd 32-bit reference count and the object. Copying
// a handle adds 1 to the count; releasing subtracts 1, and the release that reaches 0 frees the
// count with free and deletes the object through its (virtual) destructor. A handle on a
// statically kept object (Static) has no count: nothing is counted and nothing is deleted.
//
// Only the count is atomic: handles on one object may be copied and dropped on any thread, but
// the object is not protected by them, and one handle object must not be changed by two threads
// at once. Taking ownership of a new object throws std::bad_alloc (after deleting the object)
// when the count cannot be allocated; nothing else fails. There is no weak handle.
#pragma once

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>

namespace QELTA {

namespace PointerDetail {

// A count block holding 1; throws std::bad_alloc when the heap is exhausted.
inline std::uint32_t * NewCount() {
    void * const block = std::malloc(sizeof(std::uint32_t));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return ::new (block) std::uint32_t(1);
}

inline void Retain(std::uint32_t * count) noexcept {
    if (count != nullptr) {
        std::atomic_ref<std::uint32_t>(*count).fetch_add(1, std::memory_order_relaxed);
    }
}

// Drops one reference; true when it was the last, in which case the count block is freed and
// the caller deletes the object. The release ordering makes every earlier use of the object on
// any thread happen before that deletion.
inline bool Release(std::uint32_t * count) noexcept {
    if (count == nullptr || std::atomic_ref<std::uint32_t>(*count).fetch_sub(1, std::memory_order_acq_rel) != 1) {
        return false;
    }
    std::free(count);
    return true;
}

// A handle on a U can become a handle on a T.
template <class U, class T>
concept PointerConvertible = std::is_convertible_v<U *, T *>;

// The same between distinct classes, as from a derived class to its base.
template <class U, class T>
concept OtherPointerConvertible =
    !std::is_same_v<std::remove_cv_t<U>, std::remove_cv_t<T>> && std::is_convertible_v<U *, T *>;

// Deleting through a base handle needs the base's destructor to be virtual.
template <class Target, class Source>
inline constexpr bool deletes_safely_as =
    std::is_same_v<std::remove_cv_t<Target>, std::remove_cv_t<Source>> || std::has_virtual_destructor_v<Target>;

// The body that both handles share: the count block and the object, with copying, moving,
// assignment and release. Pointee is T const for ConstPointer and T for DynamicPointer.
template <class Pointee>
class CountedHandle {
  public:
    CountedHandle(CountedHandle const & other) noexcept : count_(other.count_), object_(other.object_) {
        Retain(count_);
    }

    CountedHandle(CountedHandle && other) noexcept
        : count_(std::exchange(other.count_, nullptr)), object_(std::exchange(other.object_, nullptr)) {}

    ~CountedHandle() { reset(); }

    // Does nothing when both handles already share the count (or the same uncounted object).
    CountedHandle & operator=(CountedHandle const & other) noexcept {
        if (count_ != other.count_ || object_ != other.object_) {
            Retain(other.count_);
            reset();
            count_ = other.count_;
            object_ = other.object_;
        }
        return *this;
    }

    CountedHandle & operator=(CountedHandle && other) noexcept {
        if (this != &other) {
            reset();
            count_ = std::exchange(other.count_, nullptr);
            object_ = std::exchange(other.object_, nullptr);
        }
        return *this;
    }

    // Releases the object; afterwards both pointers are null.
    void reset() noexcept {
        if (Release(count_)) {
            delete object_;
        }
        count_ = nullptr;
        object_ = nullptr;
    }

    Pointee * get() const noexcept { return object_; }
    Pointee * operator->() const noexcept { return object_; }
    Pointee & operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

  protected:
    CountedHandle() noexcept = default;

    // Adopts `count` and `object` as they are, retaining nothing.
    CountedHandle(std::uint32_t * count, Pointee * object) noexcept : count_(count), object_(object) {}

    // Takes ownership of `object`, made with new; a null `object` gives an empty handle.
    explicit CountedHandle(Pointee * object) : object_(object) {
        if (object == nullptr) {
            return;
        }
        try {
            count_ = NewCount();
        } catch (...) {
            delete object;
            throw;
        }
    }

    // Shares the count of another handle, one on a derived class included.
    template <class Other>
    static CountedHandle Share(CountedHandle<Other> const & other) noexcept {
        Retain(other.count_);
        return CountedHandle(other.count_, other.object_);
    }

    template <class Other>
    static CountedHandle Take(CountedHandle<Other> && other) noexcept {
        return CountedHandle(std::exchange(other.count_, nullptr), std::exchange(other.object_, nullptr));
    }

  private:
    template <class>
    friend class CountedHandle;

    std::uint32_t * count_ = nullptr;
    Pointee * object_ = nullptr;
};

} // namespace PointerDetail

template <class T>
class DynamicPointer;

// Shared handle on a const T. An empty handle holds two null pointers.
template <class T>
class ConstPointer : public PointerDetail::CountedHandle<T const> {
    using Base = PointerDetail::CountedHandle<T const>;

  public:
    using element_type = T;

    ConstPointer() noexcept = default;
    ConstPointer(std::nullptr_t) noexcept {}

    // Takes ownership of `object`, made with new; a null `object` gives an empty handle.
    template <PointerDetail::PointerConvertible<T const> U>
    explicit ConstPointer(U const * object) : Base(static_cast<T const *>(object)) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    // A handle on an object kept elsewhere (a static, or a member of one) that is never deleted.
    // It has no count block: its copies count nothing and their release deletes nothing.
    static ConstPointer Static(T const & object) noexcept { return ConstPointer(nullptr, &object); }

    // From a handle on a derived class, or from a DynamicPointer: the count is shared.
    template <PointerDetail::OtherPointerConvertible<T const> U>
    ConstPointer(ConstPointer<U> const & other) noexcept : Base(Base::Share(other)) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    template <PointerDetail::OtherPointerConvertible<T const> U>
    ConstPointer(ConstPointer<U> && other) noexcept : Base(Base::Take(std::move(other))) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    template <PointerDetail::PointerConvertible<T const> U>
    ConstPointer(DynamicPointer<U> const & other) noexcept : Base(Base::Share(other)) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    template <PointerDetail::PointerConvertible<T const> U>
    ConstPointer(DynamicPointer<U> && other) noexcept : Base(Base::Take(std::move(other))) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    friend bool operator==(ConstPointer const & a, ConstPointer const & b) noexcept { return a.get() == b.get(); }
    friend bool operator==(ConstPointer const & a, std::nullptr_t) noexcept { return a.get() == nullptr; }
    friend std::strong_ordering operator<=>(ConstPointer const & a, ConstPointer const & b) noexcept {
        return std::compare_three_way()(a.get(), b.get());
    }

  private:
    ConstPointer(std::uint32_t * count, T const * object) noexcept : Base(count, object) {}
};

// Shared handle on a mutable T; converts to a ConstPointer that shares its count.
template <class T>
class DynamicPointer : public PointerDetail::CountedHandle<T> {
    using Base = PointerDetail::CountedHandle<T>;

  public:
    using element_type = T;

    DynamicPointer() noexcept = default;
    DynamicPointer(std::nullptr_t) noexcept {}

    // Takes ownership of `object`, made with new; a null `object` gives an empty handle.
    template <PointerDetail::PointerConvertible<T> U>
    explicit DynamicPointer(U * object) : Base(static_cast<T *>(object)) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    // A handle on an object kept elsewhere that is never deleted; see ConstPointer::Static.
    static DynamicPointer Static(T & object) noexcept { return DynamicPointer(nullptr, &object); }

    template <PointerDetail::OtherPointerConvertible<T> U>
    DynamicPointer(DynamicPointer<U> const & other) noexcept : Base(Base::Share(other)) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    template <PointerDetail::OtherPointerConvertible<T> U>
    DynamicPointer(DynamicPointer<U> && other) noexcept : Base(Base::Take(std::move(other))) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    friend bool operator==(DynamicPointer const & a, DynamicPointer const & b) noexcept { return a.get() == b.get(); }
    friend bool operator==(DynamicPointer const & a, std::nullptr_t) noexcept { return a.get() == nullptr; }
    friend std::strong_ordering operator<=>(DynamicPointer const & a, DynamicPointer const & b) noexcept {
        return std::compare_three_way()(a.get(), b.get());
    }

  private:
    DynamicPointer(std::uint32_t * count, T * object) noexcept : Base(count, object) {}
};

} // namespace QELTA
