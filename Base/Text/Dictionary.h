// Dictionary: the library's one hash map, robin-hood open addressing over a power-of-two table.
//
// A Dictionary owns its entries and destroys them with itself. It has no lock: reading from
// many threads is safe while no thread writes. It fails in three ways only, each of which writes
// a fixed message and a line end to standard error, flushes, and ends the process with
// std::abort (so a core dump or crash handler keeps the stack of the failing call): at() of a
// missing key ("Couldn't find key."), a rehash beyond 0xAAAAAAAAAAAAAAA buckets ("The map exceeds
// its maximum bucket count.") and growth the table cannot take ("The hash table exceeds its
// maximum size."): beyond 2^62 buckets, beyond the 16-bit probe distance, or beyond the heap.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <tuple>
#include <type_traits>
#include <utility>

namespace QELTA {

// The hash of a Dictionary key: 64-bit FNV-1a over the bytes of the key in memory. This serves
// plain keys (integers, enums, pointers, structs without padding). Other key types specialize
// it beside their own declaration, e.g. `template <> struct DictionaryHash<String>`, with a
// const `std::uint64_t operator()(Key const &)`; equal keys must hash equal.
template <class K>
struct DictionaryHash {
    static_assert(std::has_unique_object_representations_v<K>,
                  "the byte hash needs keys whose equal values have equal bytes; specialize DictionaryHash");

    std::uint64_t operator()(K const & key) const noexcept {
        return HashBytes(key, std::make_index_sequence<sizeof(K)>());
    }

  private:
    static constexpr std::uint64_t offset_basis = 0xCBF29CE484222325ULL;
    static constexpr std::uint64_t prime = 0x100000001B3ULL;

    // Unrolled so that a small key stays in a register instead of being walked byte by byte.
    template <std::size_t... I>
    static std::uint64_t HashBytes(K const & key, std::index_sequence<I...>) noexcept {
        std::uint64_t hash = offset_basis;
        unsigned char const * const bytes = reinterpret_cast<unsigned char const *>(&key);
        ((hash = (hash ^ bytes[I]) * prime), ...);
        return hash;
    }
};

// The three process-ending failures of Dictionary. Each writes its message and a line end to
// standard error, flushes it and calls std::abort.
class QELTA_BASE_EXPORT DictionaryFailure {
  public:
    DictionaryFailure() = delete;

    // "Couldn't find key."
    [[noreturn]] [[gnu::cold]] static void MissingKey() noexcept;
    // "The hash table exceeds its maximum size." (also beyond the 16-bit distance or the heap)
    [[noreturn]] [[gnu::cold]] static void TableTooLarge() noexcept;
    // "The map exceeds its maximum bucket count."
    [[noreturn]] [[gnu::cold]] static void TooManyBuckets() noexcept;
};

template <class K, class V, class Hash>
class Dictionary;

// One key and its value as a Dictionary stores them. Callers read the key and may change the
// value; `auto & [key, value] = entry` binds `K const &` and `V &`.
template <class K, class V>
class DictionaryEntry {
  public:
    DictionaryEntry(DictionaryEntry const &) = default;
    DictionaryEntry(DictionaryEntry &&) = default;
    // Assigning a whole entry would change a key in place and lose it in the table.
    DictionaryEntry & operator=(DictionaryEntry const &) = delete;
    DictionaryEntry & operator=(DictionaryEntry &&) = delete;
    ~DictionaryEntry() = default;

    K const & key() const noexcept { return key_; }
    V & value() noexcept { return value_; }
    V const & value() const noexcept { return value_; }

    template <std::size_t I>
    std::tuple_element_t<I, DictionaryEntry> & get() & noexcept {
        return Member<I>(*this);
    }
    template <std::size_t I>
    std::tuple_element_t<I, DictionaryEntry> const & get() const & noexcept {
        return Member<I>(*this);
    }
    template <std::size_t I>
    std::tuple_element_t<I, DictionaryEntry> && get() && noexcept {
        return std::move(Member<I>(*this));
    }

  private:
    template <class, class, class>
    friend class Dictionary;

    struct InPlace {};

    template <class KeyArg, class... ValueArgs>
    DictionaryEntry(InPlace, KeyArg && key, ValueArgs &&... value)
        : key_(std::forward<KeyArg>(key)), value_(std::forward<ValueArgs>(value)...) {}

    template <std::size_t I, class Self>
    static auto & Member(Self & self) noexcept {
        if constexpr (I == 0) {
            return self.key_;
        } else {
            return self.value_;
        }
    }

    K key_;
    V value_;
};

} // namespace QELTA

template <class K, class V>
struct std::tuple_size<QELTA::DictionaryEntry<K, V>> : std::integral_constant<std::size_t, 2> {};

template <std::size_t I, class K, class V>
struct std::tuple_element<I, QELTA::DictionaryEntry<K, V>> {
    static_assert(I < 2, "a dictionary entry has a key and a value");
    using type = std::conditional_t<I == 0, K const, V>;
};

namespace QELTA {

// Hash map with open addressing and robin-hood displacement over 2^n buckets.
//
// Each bucket holds the low 32 bits of its key's hash, its distance from the bucket that hash
// names (-1: empty) and the entry. Invariant: an entry never lies beyond a bucket whose resident
// is nearer its own home than the entry would be there, so a lookup stops as soon as its probe
// distance exceeds the resident's, and a miss costs about as much as a hit. Erasure shifts the
// rest of the cluster back; there are no tombstones.
//
// The table grows to twice its buckets when the entry count reaches bucketCount * maxLoadFactor
// (truncated; default 0.5), or on the insertion after a displacement that carried an entry
// 4096 buckets or further. It shrinks only when minLoadFactor (default 0: never) is set, and only
// on the insertion after an erasure. A table that never held a key owns no memory.
//
// Iteration runs in bucket order, which changes with growth. Iteration yields DictionaryEntry:
// `for (auto & [key, value] : dictionary)` or `it->key()`, `it->value()`. Insertion and erasure
// invalidate all iterators and references; erase(iterator) returns where a walk goes on.
//
// Moving a key or a value must not throw. Distances are 16 bits: an insertion that would place
// an entry 32768 or more buckets from its home ends the process like growth beyond the maximum
// size; only a hash that sends tens of thousands of keys to one stretch of buckets gets there.
template <class K, class V, class Hash = DictionaryHash<K>>
class Dictionary {
    using Entry = DictionaryEntry<K, V>;

    struct Bucket {
        std::uint32_t truncated_hash;
        std::int16_t distance;
        std::uint8_t last_bucket;
        union {
            char none; // the active member while empty, so that the shared empty bucket is a constant
            Entry entry;
        };

        constexpr Bucket() noexcept : truncated_hash(0), distance(-1), last_bucket(0), none(0) {}
        constexpr explicit Bucket(std::uint8_t last) noexcept
            : truncated_hash(0), distance(-1), last_bucket(last), none(0) {}
        // The Dictionary destroys the entries of live buckets; an empty bucket holds nothing.
        ~Bucket() {}
    };

    static_assert(alignof(Bucket) <= 64, "a bucket is at most 64-byte aligned");

    // Buckets are made and destroyed through their own (empty-marking) constructor, hence not primitive.
    using BucketStorage = Buffer<Bucket, BufferAllocator<Bucket, buffer_alignment_for<Bucket>, 0, unsigned long long>>;

  public:
    using key_type = K;
    using mapped_type = V;
    using value_type = Entry;
    using size_type = std::uint64_t;

    template <bool Const>
    class Iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = std::conditional_t<Const, Entry const *, Entry *>;
        using reference = std::conditional_t<Const, Entry const &, Entry &>;

        Iterator() noexcept = default;

        // A mutable iterator converts to a const one.
        template <bool OtherConst, class = std::enable_if_t<Const && !OtherConst>>
        Iterator(Iterator<OtherConst> const & other) noexcept : bucket_(other.bucket_) {}

        reference operator*() const noexcept { return bucket_->entry; }
        pointer operator->() const noexcept { return &bucket_->entry; }

        Iterator & operator++() noexcept {
            bucket_ = NextLive(bucket_);
            return *this;
        }

        Iterator operator++(int) noexcept {
            Iterator const before = *this;
            bucket_ = NextLive(bucket_);
            return before;
        }

        friend bool operator==(Iterator const & a, Iterator const & b) noexcept { return a.bucket_ == b.bucket_; }

      private:
        friend class Dictionary;
        template <bool>
        friend class Iterator;

        using BucketPointer = std::conditional_t<Const, Bucket const *, Bucket *>;

        explicit Iterator(BucketPointer bucket) noexcept : bucket_(bucket) {}

        BucketPointer bucket_ = nullptr;
    };

    using iterator = Iterator<false>;
    using const_iterator = Iterator<true>;

    static constexpr float default_min_load_factor = 0.0f;
    static constexpr float default_max_load_factor = 0.5f;

    Dictionary() noexcept : Dictionary(default_min_load_factor, default_max_load_factor) {}

    // The factors are clamped: the minimum to [0, 0.15], the maximum to [0.2, 0.95].
    Dictionary(float min_load_factor, float max_load_factor) noexcept
        : mask_(0), buckets_(&s_empty_bucket), bucket_count_(0), element_count_(0), load_threshold_(0),
          min_load_factor_(Clamp(min_load_factor, 0.0f, 0.15f)), max_load_factor_(Clamp(max_load_factor, 0.2f, 0.95f)),
          grow_on_next_insert_(false), try_shrink_on_next_insert_(false) {}

    // A copy of a table with entries has the same buckets and therefore the same iteration order.
    Dictionary(Dictionary const & other) : Dictionary(other.min_load_factor_, other.max_load_factor_) {
        copyEntriesFrom(other);
    }

    Dictionary(Dictionary && other) noexcept
        : mask_(other.mask_), bucket_storage_(std::move(other.bucket_storage_)), buckets_(other.buckets_),
          bucket_count_(other.bucket_count_), element_count_(other.element_count_),
          load_threshold_(other.load_threshold_), min_load_factor_(other.min_load_factor_),
          max_load_factor_(other.max_load_factor_), grow_on_next_insert_(other.grow_on_next_insert_),
          try_shrink_on_next_insert_(other.try_shrink_on_next_insert_), hash_(other.hash_) {
        other.forgetTable();
    }

    ~Dictionary() { destroyEntries(); }

    Dictionary & operator=(Dictionary const & other) {
        if (this != &other) {
            Dictionary copy(other);
            swap(copy);
        }
        return *this;
    }

    Dictionary & operator=(Dictionary && other) noexcept {
        if (this != &other) {
            Dictionary moved(std::move(other));
            swap(moved);
        }
        return *this;
    }

    void swap(Dictionary & other) noexcept {
        using std::swap;
        swap(mask_, other.mask_);
        swap(bucket_storage_, other.bucket_storage_);
        swap(buckets_, other.buckets_);
        swap(bucket_count_, other.bucket_count_);
        swap(element_count_, other.element_count_);
        swap(load_threshold_, other.load_threshold_);
        swap(min_load_factor_, other.min_load_factor_);
        swap(max_load_factor_, other.max_load_factor_);
        swap(grow_on_next_insert_, other.grow_on_next_insert_);
        swap(try_shrink_on_next_insert_, other.try_shrink_on_next_insert_);
        swap(hash_, other.hash_);
    }

    size_type size() const noexcept { return element_count_; }
    bool isEmpty() const noexcept { return element_count_ == 0; }
    // 0 or a power of two.
    size_type bucketCount() const noexcept { return bucket_count_; }

    iterator begin() noexcept { return iterator(firstLive()); }
    iterator end() noexcept { return iterator(buckets_ + bucket_count_); }
    const_iterator begin() const noexcept { return const_iterator(firstLive()); }
    const_iterator end() const noexcept { return const_iterator(buckets_ + bucket_count_); }

    iterator find(K const & key) {
        Bucket * const bucket = findBucket(key);
        return bucket != nullptr ? iterator(bucket) : end();
    }

    const_iterator find(K const & key) const {
        Bucket const * const bucket = findBucket(key);
        return bucket != nullptr ? const_iterator(bucket) : end();
    }

    bool contains(K const & key) const { return findBucket(key) != nullptr; }

    // The value of a key that must be present; a missing key ends the process ("Couldn't find key.").
    V & at(K const & key) {
        Bucket * const bucket = findBucket(key);
        if (bucket == nullptr) [[unlikely]] {
            DictionaryFailure::MissingKey();
        }
        return bucket->entry.value_;
    }

    V const & at(K const & key) const { return const_cast<Dictionary *>(this)->at(key); }

    // Inserts the key with a value made from `value...` unless the key is present, in which case
    // nothing is made and the existing entry is returned with false.
    template <class... ValueArgs>
    std::pair<iterator, bool> emplace(K const & key, ValueArgs &&... value) {
        return emplaceNew(key, std::forward<ValueArgs>(value)...);
    }

    template <class... ValueArgs>
    std::pair<iterator, bool> emplace(K && key, ValueArgs &&... value) {
        return emplaceNew(std::move(key), std::forward<ValueArgs>(value)...);
    }

    // Inserts unless the key is present; an existing value is left as it is.
    template <class ValueArg = V>
    std::pair<iterator, bool> insert(K const & key, ValueArg && value) {
        return emplaceNew(key, std::forward<ValueArg>(value));
    }

    template <class ValueArg = V>
    std::pair<iterator, bool> insert(K && key, ValueArg && value) {
        return emplaceNew(std::move(key), std::forward<ValueArg>(value));
    }

    // The value of the key, inserting a value-initialized one when the key is absent.
    V & operator[](K const & key) { return emplaceNew(key).first->value_; }
    V & operator[](K && key) { return emplaceNew(std::move(key)).first->value_; }

    // Removes the key; returns 1 if it was present, else 0.
    size_type erase(K const & key) {
        if (element_count_ == 0) {
            return 0; // also tells the compiler that the shared empty bucket is never shifted
        }
        Bucket * const bucket = findBucket(key);
        if (bucket == nullptr) {
            return 0;
        }
        eraseBucket(bucket);
        return 1;
    }

    // Removes the entry at `position` and returns where a walk in bucket order goes on. The
    // shift that closes the gap may bring back an entry that the walk has passed, when its
    // cluster wraps around the end of the table: erasing by a condition stays correct, but a
    // walk must not count on meeting each entry only once.
    iterator erase(const_iterator position) noexcept {
        Bucket * const bucket = const_cast<Bucket *>(position.bucket_);
        eraseBucket(bucket);
        return iterator(bucket->distance >= 0 ? bucket : NextLive(bucket));
    }

    // Destroys all entries and keeps the buckets.
    void clear() noexcept {
        if (element_count_ != 0) {
            for (size_type i = 0; i < bucket_count_; ++i) {
                Bucket & bucket = buckets_[i];
                if (bucket.distance >= 0) {
                    bucket.entry.~Entry();
                    bucket.distance = -1;
                }
            }
            element_count_ = 0;
            try_shrink_on_next_insert_ = true;
        }
        grow_on_next_insert_ = false;
    }

    // Makes room for `count` entries without growth.
    void reserve(size_type count) {
        if (count <= load_threshold_) {
            return;
        }
        double const wanted = std::ceil(static_cast<double>(count) / static_cast<double>(max_load_factor_));
        if (wanted > static_cast<double>(max_bucket_count)) {
            DictionaryFailure::TooManyBuckets();
        }
        size_type buckets = std::bit_ceil(static_cast<size_type>(wanted));
        while (loadThresholdFor(buckets) < count) {
            buckets *= 2;
        }
        rehashTo(buckets);
    }

    // The probe distance of the key's bucket, or -1 when the key is absent.
    int probeDistanceForTesting(K const & key) const {
        Bucket const * const bucket = findBucket(key);
        return bucket != nullptr ? bucket->distance : -1;
    }

  private:
    static constexpr size_type max_table_size = 0x4000000000000000ULL;
    static constexpr size_type max_bucket_count = 0xAAAAAAAAAAAAAAAULL;
    // A carried entry that is swapped in this far from its home makes the next insertion grow the table.
    static constexpr int long_displacement = 4096;
    // The largest distance a bucket can record. A hash that piles more keys onto one stretch of
    // the table ends the process as "maximum size" rather than wrap the distance and corrupt it.
    static constexpr int max_distance = 32767;
    // Keys that are cheap to compare are compared directly; for the others the stored hash goes first.
    static constexpr bool compares_hash_first = !(std::is_trivially_copyable_v<K> && sizeof(K) <= 8);

    // Every empty table points here, so that a lookup needs no test for a missing array.
    constinit static inline Bucket s_empty_bucket{1};

    // NaN takes the low end.
    static float Clamp(float value, float low, float high) noexcept {
        return !(value >= low) ? low : (value > high ? high : value);
    }

    size_type loadThresholdFor(size_type buckets) const noexcept {
        return static_cast<size_type>(static_cast<double>(buckets) * static_cast<double>(max_load_factor_));
    }

    static bool Matches(Bucket const & bucket, K const & key, std::uint64_t hash) noexcept {
        if constexpr (compares_hash_first) {
            return bucket.truncated_hash == static_cast<std::uint32_t>(hash) && bucket.entry.key_ == key;
        } else {
            (void)hash;
            return bucket.entry.key_ == key;
        }
    }

    Bucket * findBucket(K const & key) const {
        std::uint64_t const hash = static_cast<std::uint64_t>(hash_(key));
        std::uint64_t const mask = mask_;
        Bucket * const buckets = buckets_;
        std::uint64_t index = hash & mask;
        for (int distance = 0; distance <= buckets[index].distance; ++distance) {
            if (Matches(buckets[index], key, hash)) {
                return &buckets[index];
            }
            index = (index + 1) & mask;
        }
        return nullptr;
    }

    template <class B>
    static B * NextLive(B * bucket) noexcept {
        while (bucket->last_bucket == 0) {
            ++bucket;
            if (bucket->distance >= 0) {
                return bucket;
            }
        }
        return bucket + 1;
    }

    Bucket * firstLive() const noexcept {
        if (element_count_ == 0) {
            return buckets_ + bucket_count_;
        }
        return buckets_->distance >= 0 ? buckets_ : NextLive(buckets_);
    }

    template <class KeyArg, class... ValueArgs>
    std::pair<iterator, bool> emplaceNew(KeyArg && key, ValueArgs &&... value) {
        std::uint64_t const hash = static_cast<std::uint64_t>(hash_(key));
        std::uint64_t index = hash & mask_;
        int distance = 0;
        while (distance <= buckets_[index].distance) {
            if (Matches(buckets_[index], key, hash)) {
                return {iterator(&buckets_[index]), false};
            }
            ++distance;
            index = (index + 1) & mask_;
        }

        size_type rehash_to = 0;
        bool const growing = grow_on_next_insert_ || element_count_ >= load_threshold_;
        if (growing) {
            if (mask_ + 1 > max_table_size) {
                DictionaryFailure::TableTooLarge();
            }
            rehash_to = mask_ * 2 + 2;
        } else if (try_shrink_on_next_insert_) {
            try_shrink_on_next_insert_ = false;
            double const count = static_cast<double>(element_count_);
            if (min_load_factor_ != 0.0f &&
                count / static_cast<double>(bucket_count_) < static_cast<double>(min_load_factor_)) {
                double const max_load = static_cast<double>(max_load_factor_);
                rehash_to =
                    static_cast<size_type>(std::max(std::ceil((count + 1) / max_load), std::ceil(count / max_load)));
            }
        }

        Bucket * placed;
        if (rehash_to == 0) {
            placed = placeEntry(index, distance, hash, typename Entry::InPlace{}, std::forward<KeyArg>(key),
                                std::forward<ValueArgs>(value)...);
        } else {
            // Made before the rehash, which would move an entry that `value` may refer to.
            Entry fresh(typename Entry::InPlace{}, std::forward<KeyArg>(key), std::forward<ValueArgs>(value)...);
            rehashTo(rehash_to);
            if (growing) {
                grow_on_next_insert_ = false;
            }
            std::tie(index, distance) = freeSlot(hash);
            placed = placeEntry(index, distance, hash, std::move(fresh));
        }
        ++element_count_;
        return {iterator(placed), true};
    }

    // Where the robin-hood walk of an absent key with this hash stops: the index and the probe distance.
    std::pair<std::uint64_t, int> freeSlot(std::uint64_t hash) const noexcept {
        std::uint64_t index = hash & mask_;
        int distance = 0;
        while (distance <= buckets_[index].distance) {
            ++distance;
            index = (index + 1) & mask_;
        }
        return {index, distance};
    }

    // Stores a new entry at the end of its probe walk (`index`, `distance`), displacing residents
    // that are closer to home, and returns the bucket where the new entry itself landed.
    template <class... Args>
    Bucket * placeEntry(std::uint64_t index, int distance, std::uint64_t hash, Args &&... args) {
        if (distance > max_distance) [[unlikely]] {
            DictionaryFailure::TableTooLarge();
        }
        Bucket * bucket = buckets_ + index;
        if (bucket->distance < 0) {
            ::new (static_cast<void *>(&bucket->entry)) Entry(std::forward<Args>(args)...);
            bucket->truncated_hash = static_cast<std::uint32_t>(hash);
            bucket->distance = static_cast<std::int16_t>(distance);
            return bucket;
        }
        Entry carried(std::forward<Args>(args)...);
        std::uint32_t carried_hash = static_cast<std::uint32_t>(hash);
        Bucket * const placed = bucket;
        for (;;) {
            if (distance >= long_displacement) {
                grow_on_next_insert_ = true;
            }
            using std::swap;
            swap(carried.key_, bucket->entry.key_);
            swap(carried.value_, bucket->entry.value_);
            swap(carried_hash, bucket->truncated_hash);
            int const resident_distance = bucket->distance;
            bucket->distance = static_cast<std::int16_t>(distance);
            distance = resident_distance;
            do {
                index = (index + 1) & mask_;
                if (++distance > max_distance) [[unlikely]] {
                    DictionaryFailure::TableTooLarge();
                }
                bucket = buckets_ + index;
                if (bucket->distance < 0) {
                    ::new (static_cast<void *>(&bucket->entry)) Entry(std::move(carried));
                    bucket->truncated_hash = carried_hash;
                    bucket->distance = static_cast<std::int16_t>(distance);
                    return placed;
                }
            } while (distance <= bucket->distance);
        }
    }

    void eraseBucket(Bucket * bucket) noexcept {
        bucket->entry.~Entry();
        bucket->distance = -1;
        --element_count_;
        std::uint64_t index = static_cast<std::uint64_t>(bucket - buckets_);
        for (;;) {
            std::uint64_t const next_index = (index + 1) & mask_;
            Bucket & next = buckets_[next_index];
            if (next.distance < 1) {
                break;
            }
            Bucket & hole = buckets_[index];
            ::new (static_cast<void *>(&hole.entry)) Entry(std::move(next.entry));
            next.entry.~Entry();
            hole.truncated_hash = next.truncated_hash;
            hole.distance = static_cast<std::int16_t>(next.distance - 1);
            next.distance = -1;
            index = next_index;
        }
        try_shrink_on_next_insert_ = true;
    }

    static BucketStorage MakeBuckets(size_type count) {
        BucketStorage storage;
        storage.ensureCapacity(count);
        if (count == 0 || storage.data() == nullptr) [[unlikely]] {
            DictionaryFailure::TableTooLarge(); // the heap cannot hold the table
        }
        storage.setSize(count);
        storage.data()[count - 1].last_bucket = 1;
        return storage;
    }

    // Moves every entry into a new table of at least `wanted` buckets (rounded up to a power of two).
    void rehashTo(size_type wanted) {
        if (wanted > max_bucket_count || std::bit_ceil(wanted) > max_bucket_count) {
            DictionaryFailure::TooManyBuckets();
        }
        size_type const count = std::bit_ceil(wanted);
        BucketStorage old_storage = MakeBuckets(count);
        Bucket * const old_buckets = buckets_;
        size_type const old_count = bucket_count_;
        using std::swap;
        swap(old_storage, bucket_storage_);
        buckets_ = bucket_storage_.data();
        bucket_count_ = count;
        mask_ = count - 1;
        load_threshold_ = loadThresholdFor(count);
        grow_on_next_insert_ = false;
        try_shrink_on_next_insert_ = false;

        // The stored 32 bits place an entry while they cover the mask; wider tables hash again.
        bool const stored_hash_suffices = mask_ <= 0xFFFFFFFFULL;
        for (size_type i = 0; i < old_count; ++i) {
            Bucket & old_bucket = old_buckets[i];
            if (old_bucket.distance < 0) {
                continue;
            }
            std::uint64_t const hash = stored_hash_suffices ? old_bucket.truncated_hash
                                                            : static_cast<std::uint64_t>(hash_(old_bucket.entry.key_));
            auto const [index, distance] = freeSlot(hash);
            placeEntry(index, distance, hash, std::move(old_bucket.entry));
            old_bucket.entry.~Entry();
        }
    }

    void copyEntriesFrom(Dictionary const & other) {
        hash_ = other.hash_;
        if (other.element_count_ == 0) {
            return;
        }
        bucket_storage_ = MakeBuckets(other.bucket_count_);
        buckets_ = bucket_storage_.data();
        bucket_count_ = other.bucket_count_;
        mask_ = other.mask_;
        load_threshold_ = other.load_threshold_;
        for (size_type i = 0; i < bucket_count_; ++i) {
            Bucket const & source = other.buckets_[i];
            if (source.distance >= 0) {
                ::new (static_cast<void *>(&buckets_[i].entry)) Entry(source.entry);
                buckets_[i].truncated_hash = source.truncated_hash;
                buckets_[i].distance = source.distance;
                ++element_count_;
            }
        }
        grow_on_next_insert_ = other.grow_on_next_insert_;
        try_shrink_on_next_insert_ = other.try_shrink_on_next_insert_;
    }

    void destroyEntries() noexcept {
        if constexpr (!std::is_trivially_destructible_v<Entry>) {
            if (element_count_ != 0) {
                for (size_type i = 0; i < bucket_count_; ++i) {
                    if (buckets_[i].distance >= 0) {
                        buckets_[i].entry.~Entry();
                    }
                }
            }
        }
    }

    // Leaves the table empty without buckets; the storage must already be gone.
    void forgetTable() noexcept {
        mask_ = 0;
        buckets_ = &s_empty_bucket;
        bucket_count_ = 0;
        element_count_ = 0;
        load_threshold_ = 0;
        grow_on_next_insert_ = false;
        try_shrink_on_next_insert_ = false;
    }

    std::uint64_t mask_;
    BucketStorage bucket_storage_;
    Bucket * buckets_;
    std::uint64_t bucket_count_;
    std::uint64_t element_count_;
    std::uint64_t load_threshold_;
    float min_load_factor_;
    float max_load_factor_;
    bool grow_on_next_insert_;
    bool try_shrink_on_next_insert_;
    [[no_unique_address]] Hash hash_;
};

} // namespace QELTA
