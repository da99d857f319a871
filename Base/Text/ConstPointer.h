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

} // namespace PointerDetail

template <class T>
class DynamicPointer;

// Shared handle on a const T. An empty handle holds two null pointers.
template <class T>
class ConstPointer {
  public:
    using element_type = T;

    ConstPointer() noexcept = default;
    ConstPointer(std::nullptr_t) noexcept {}

    // Takes ownership of `object`, made with new; a null `object` gives an empty handle.
    template <PointerDetail::PointerConvertible<T const> U>
    explicit ConstPointer(U const * object) : object_(object) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
        if (object == nullptr) {
            return;
        }
        try {
            count_ = PointerDetail::NewCount();
        } catch (...) {
            delete object;
            throw;
        }
    }

    // A handle on an object kept elsewhere (a static, or a member of one) that is never deleted.
    // It has no count block: its copies count nothing and their release deletes nothing.
    static ConstPointer Static(T const & object) noexcept { return ConstPointer(nullptr, &object); }

    ConstPointer(ConstPointer const & other) noexcept : count_(other.count_), object_(other.object_) {
        PointerDetail::Retain(count_);
    }

    ConstPointer(ConstPointer && other) noexcept
        : count_(std::exchange(other.count_, nullptr)), object_(std::exchange(other.object_, nullptr)) {}

    template <PointerDetail::OtherPointerConvertible<T const> U>
    ConstPointer(ConstPointer<U> const & other) noexcept : count_(other.count_), object_(other.object_) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
        PointerDetail::Retain(count_);
    }

    template <PointerDetail::OtherPointerConvertible<T const> U>
    ConstPointer(ConstPointer<U> && other) noexcept
        : count_(std::exchange(other.count_, nullptr)), object_(std::exchange(other.object_, nullptr)) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    // A DynamicPointer becomes a ConstPointer sharing its count.
    template <PointerDetail::PointerConvertible<T const> U>
    ConstPointer(DynamicPointer<U> const & other) noexcept : count_(other.count_), object_(other.object_) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
        PointerDetail::Retain(count_);
    }

    template <PointerDetail::PointerConvertible<T const> U>
    ConstPointer(DynamicPointer<U> && other) noexcept
        : count_(std::exchange(other.count_, nullptr)), object_(std::exchange(other.object_, nullptr)) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    ~ConstPointer() { reset(); }

    // Does nothing when both handles already share the count (or the same uncounted object).
    ConstPointer & operator=(ConstPointer const & other) noexcept {
        if (count_ != other.count_ || object_ != other.object_) {
            PointerDetail::Retain(other.count_);
            reset();
            count_ = other.count_;
            object_ = other.object_;
        }
        return *this;
    }

    ConstPointer & operator=(ConstPointer && other) noexcept {
        if (this != &other) {
            reset();
            count_ = std::exchange(other.count_, nullptr);
            object_ = std::exchange(other.object_, nullptr);
        }
        return *this;
    }

    // Releases the object; afterwards both pointers are null.
    void reset() noexcept {
        if (PointerDetail::Release(count_)) {
            delete object_;
        }
        count_ = nullptr;
        object_ = nullptr;
    }

    T const * get() const noexcept { return object_; }
    T const * operator->() const noexcept { return object_; }
    T const & operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    friend bool operator==(ConstPointer const & a, ConstPointer const & b) noexcept { return a.object_ == b.object_; }
    friend bool operator==(ConstPointer const & a, std::nullptr_t) noexcept { return a.object_ == nullptr; }
    friend std::strong_ordering operator<=>(ConstPointer const & a, ConstPointer const & b) noexcept {
        return std::compare_three_way()(a.object_, b.object_);
    }

  private:
    template <class>
    friend class ConstPointer;

    ConstPointer(std::uint32_t * count, T const * object) noexcept : count_(count), object_(object) {}

    std::uint32_t * count_ = nullptr;
    T const * object_ = nullptr;
};

// Shared handle on a mutable T; converts to a ConstPointer that shares its count.
template <class T>
class DynamicPointer {
  public:
    using element_type = T;

    DynamicPointer() noexcept = default;
    DynamicPointer(std::nullptr_t) noexcept {}

    // Takes ownership of `object`, made with new; a null `object` gives an empty handle.
    template <PointerDetail::PointerConvertible<T> U>
    explicit DynamicPointer(U * object) : object_(object) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
        if (object == nullptr) {
            return;
        }
        try {
            count_ = PointerDetail::NewCount();
        } catch (...) {
            delete object;
            throw;
        }
    }

    // A handle on an object kept elsewhere that is never deleted; see ConstPointer::Static.
    static DynamicPointer Static(T & object) noexcept { return DynamicPointer(nullptr, &object); }

    DynamicPointer(DynamicPointer const & other) noexcept : count_(other.count_), object_(other.object_) {
        PointerDetail::Retain(count_);
    }

    DynamicPointer(DynamicPointer && other) noexcept
        : count_(std::exchange(other.count_, nullptr)), object_(std::exchange(other.object_, nullptr)) {}

    template <PointerDetail::OtherPointerConvertible<T> U>
    DynamicPointer(DynamicPointer<U> const & other) noexcept : count_(other.count_), object_(other.object_) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
        PointerDetail::Retain(count_);
    }

    template <PointerDetail::OtherPointerConvertible<T> U>
    DynamicPointer(DynamicPointer<U> && other) noexcept
        : count_(std::exchange(other.count_, nullptr)), object_(std::exchange(other.object_, nullptr)) {
        static_assert(PointerDetail::deletes_safely_as<T, U>, "deleting through T needs a virtual destructor");
    }

    ~DynamicPointer() { reset(); }

    // Does nothing when both handles already share the count (or the same uncounted object).
    DynamicPointer & operator=(DynamicPointer const & other) noexcept {
        if (count_ != other.count_ || object_ != other.object_) {
            PointerDetail::Retain(other.count_);
            reset();
            count_ = other.count_;
            object_ = other.object_;
        }
        return *this;
    }

    DynamicPointer & operator=(DynamicPointer && other) noexcept {
        if (this != &other) {
            reset();
            count_ = std::exchange(other.count_, nullptr);
            object_ = std::exchange(other.object_, nullptr);
        }
        return *this;
    }

    // Releases the object; afterwards both pointers are null.
    void reset() noexcept {
        if (PointerDetail::Release(count_)) {
            delete object_;
        }
        count_ = nullptr;
        object_ = nullptr;
    }

    T * get() const noexcept { return object_; }
    T * operator->() const noexcept { return object_; }
    T & operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    friend bool operator==(DynamicPointer const & a, DynamicPointer const & b) noexcept {
        return a.object_ == b.object_;
    }
    friend bool operator==(DynamicPointer const & a, std::nullptr_t) noexcept { return a.object_ == nullptr; }
    friend std::strong_ordering operator<=>(DynamicPointer const & a, DynamicPointer const & b) noexcept {
        return std::compare_three_way()(a.object_, b.object_);
    }

  private:
    template <class>
    friend class ConstPointer;
    template <class>
    friend class DynamicPointer;

    DynamicPointer(std::uint32_t * count, T * object) noexcept : count_(count), object_(object) {}

    std::uint32_t * count_ = nullptr;
    T * object_ = nullptr;
};

} // namespace QELTA
