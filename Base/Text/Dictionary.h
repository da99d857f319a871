// Dictionary: the library's one hash map, robin-hood open addressing over a power-of-two table.
//
// A Dictionary owns its entries and destroys them with itself. It has no lock: reading from
// many threads is safe while no thread writes. It fails in three ways only, each of which writes
// a fixed message and a line end to standard error, flushes, and ends the process with
// std::abort (so a core dump or crash handler keeps the stack of the failing call): at() of a
// missing key ("Couldn't find key."), a rehash beyond 0xAAAAAAAAAAAAAAA buckets ("The map exceeds
// its maximum bucket count.") and growth the table cannot take ("The hash table exceeds its
// maximum size."): beyond 2^62 buckets or beyond the heap. Keys chosen to collide (many keys with
// one hash, as anyone can build for the fixed text hash) do not end the process: they overflow
// into a side table with a secret per-process hash (see the class comment).
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"

#include <bit>
#include <concepts>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <tuple>
#include <type_traits>
#include <utility>

namespace QELTA {

// A keyed hash of `size` bytes under a random key drawn once per process, continuing from
// `chain` (the result for the bytes before these, or 0). Nobody outside the process can predict
// it, so nobody can choose keys that collide under it.
QELTA_BASE_EXPORT std::uint64_t DictionarySecretHash(void const * bytes, std::size_t size,
                                                     std::uint64_t chain = 0) noexcept;

// The hash of a Dictionary key: 64-bit FNV-1a over the bytes of the key in memory. This serves
// plain keys (integers, enums, pointers, structs without padding). Other key types specialize
// it beside their own declaration, e.g. `template <> struct DictionaryHash<String>`, with a
// const `std::uint64_t operator()(Key const &)`; equal keys must hash equal. A specialization
// should also offer `std::uint64_t secret(Key const &) const`: DictionarySecretHash over the
// same contents that decide equality. Without it, keys chosen to share one hash can still
// exhaust the table.
template <class K>
struct DictionaryHash {
    static_assert(std::has_unique_object_representations_v<K>,
                  "the byte hash needs keys whose equal values have equal bytes; specialize DictionaryHash");

    std::uint64_t operator()(K const & key) const noexcept {
        return HashBytes(key, std::make_index_sequence<sizeof(K)>());
    }

    std::uint64_t secret(K const & key) const noexcept { return DictionarySecretHash(&key, sizeof(K)); }

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

// The hash of the side table of a Dictionary whose hash is `Hash`: the secret form of `Hash`.
template <class Hash>
struct DictionarySideHash {
    template <class K>
    std::uint64_t operator()(K const & key) const noexcept {
        return hash.secret(key);
    }

    [[no_unique_address]] Hash hash;
};

// The three process-ending failures of Dictionary. Each writes its message and a line end to
// standard error, flushes it and calls std::abort.
class QELTA_BASE_EXPORT DictionaryFailure {
  public:
    DictionaryFailure() = delete;

    // "Couldn't find key."
    [[noreturn]] [[gnu::cold]] static void MissingKey() noexcept;
    // "The hash table exceeds its maximum size." (also beyond the heap, or beyond the 16-bit
    // distance under a hash without a secret form)
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

namespace Internal {

// One bucket of a Dictionary: the low 32 bits of its key's hash, its distance from the bucket
// that hash names (-1: empty), the end mark, and the entry while the bucket is live.
template <class K, class V>
struct DictionaryBucket {
    std::uint32_t truncated_hash;
    std::int16_t distance;
    std::uint8_t last_bucket;
    union {
        char none; // the active member while empty, so that the shared empty bucket is a constant
        DictionaryEntry<K, V> entry;
    };

    constexpr DictionaryBucket() noexcept : truncated_hash(0), distance(-1), last_bucket(0), none(0) {}
    constexpr explicit DictionaryBucket(std::uint8_t last) noexcept
        : truncated_hash(0), distance(-1), last_bucket(last), none(0) {}
    // The Dictionary destroys the entries of live buckets; an empty bucket holds nothing.
    ~DictionaryBucket() {}
};

// True when Hash has a secret form for K, so that colliding keys can overflow into a side table.
template <class Hash, class K>
concept HasSecretHash = requires(Hash const & hash, K const & key) {
    { hash.secret(key) } -> std::convertible_to<std::uint64_t>;
};

template <class Hash>
inline constexpr bool is_side_hash = false;
template <class Hash>
inline constexpr bool is_side_hash<DictionarySideHash<Hash>> = true;

} // namespace Internal

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
// Keys chosen to collide: growth cannot part keys that share their stored 32 bits of hash, and
// anyone can make millions of texts with one text hash. So when a new key meets 16 keys of its
// own stored hash on its way, or an entry would land 8192 buckets or more from its home, it goes
// into a side table (a Dictionary hashed by the secret form of Hash) instead, and a
// displacement no longer makes a table grow that is less than one eighth full. Keys that did
// not collide on purpose never get there: for them every hash, distance and growth step stays as
// described above. A Hash without a secret form has no side table, and a distance beyond 16
// bits ends the process as "maximum size".
//
// Iteration runs in bucket order, which changes with growth, then through the side table.
// Iteration yields DictionaryEntry: `for (auto & [key, value] : dictionary)` or `it->key()`,
// `it->value()`. Insertion and erasure invalidate all iterators and references;
// erase(iterator) returns where a walk goes on.
//
// Moving a key or a value must not throw.
template <class K, class V, class Hash = DictionaryHash<K>>
class Dictionary {
    using Entry = DictionaryEntry<K, V>;
    using Bucket = Internal::DictionaryBucket<K, V>;

    static_assert(alignof(Bucket) <= 64, "a bucket is at most 64-byte aligned");

    // Buckets are made and destroyed through their own (empty-marking) constructor, hence not primitive.
    using BucketStorage = Buffer<Bucket, BufferAllocator<Bucket, buffer_alignment_for<Bucket>, 0, unsigned long long>>;

    static constexpr bool has_side_table = Internal::HasSecretHash<Hash, K> && !Internal::is_side_hash<Hash>;
    struct NoSideTable {};
    using SideTable = std::conditional_t<has_side_table, Dictionary<K, V, DictionarySideHash<Hash>>, NoSideTable>;

    template <class, class, class>
    friend class Dictionary;

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
        Iterator(Iterator<OtherConst> const & other) noexcept : bucket_(other.bucket_), owner_(other.owner_) {}

        reference operator*() const noexcept { return bucket_->entry; }
        pointer operator->() const noexcept { return &bucket_->entry; }

        Iterator & operator++() noexcept {
            bucket_ = NextLive(bucket_);
            if (owner_ != nullptr) [[unlikely]] {
                crossTableEnds();
            }
            return *this;
        }

        Iterator operator++(int) noexcept {
            Iterator const before = *this;
            ++*this;
            return before;
        }

        friend bool operator==(Iterator const & a, Iterator const & b) noexcept { return a.bucket_ == b.bucket_; }

      private:
        template <class, class, class>
        friend class Dictionary;
        template <bool>
        friend class Iterator;

        using BucketPointer = std::conditional_t<Const, Bucket const *, Bucket *>;

        // `owner`: the dictionary of the position while it has a side table, else null. A walk
        // that reaches the end of the main table goes on in the side table, and the end of the
        // side table stands for the end of the whole: end() is always behind the main table. Two
        // pointers, so that an iterator travels in registers.
        Iterator(BucketPointer bucket, Dictionary const * owner) noexcept : bucket_(bucket), owner_(owner) {
            if (owner_ != nullptr) [[unlikely]] {
                crossTableEnds();
            }
        }

        void crossTableEnds() noexcept {
            if constexpr (has_side_table) {
                BucketPointer const main_end = owner_->buckets_ + owner_->bucket_count_;
                SideTable const & side = *owner_->side_;
                if (bucket_ == main_end) {
                    BucketPointer const first = side.buckets_;
                    bucket_ = first->distance >= 0 ? first : NextLive(first);
                }
                if (bucket_ == side.buckets_ + side.bucket_count_) {
                    bucket_ = main_end;
                    owner_ = nullptr;
                }
            }
        }

        BucketPointer bucket_ = nullptr;
        Dictionary const * owner_ = nullptr;
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
          try_shrink_on_next_insert_(other.try_shrink_on_next_insert_), hash_(other.hash_),
          side_(std::move(other.side_)) {
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
        swap(side_, other.side_);
    }

    size_type size() const noexcept { return element_count_ + sideCount(); }
    bool isEmpty() const noexcept { return size() == 0; }
    // 0 or a power of two; the buckets of the main table.
    size_type bucketCount() const noexcept { return bucket_count_; }

    iterator begin() noexcept { return iteratorAt(firstLive()); }
    iterator end() noexcept { return iterator(buckets_ + bucket_count_, nullptr); }
    const_iterator begin() const noexcept { return const_cast<Dictionary *>(this)->begin(); }
    const_iterator end() const noexcept { return const_cast<Dictionary *>(this)->end(); }

    iterator find(K const & key) {
        if (Bucket * const bucket = findBucket(key, static_cast<std::uint64_t>(hash_(key)))) {
            return iteratorAt(bucket);
        }
        if constexpr (has_side_table) {
            if (Bucket * const bucket = findInSideTable(key)) {
                return iterator(bucket, this);
            }
        }
        return end();
    }

    const_iterator find(K const & key) const { return const_cast<Dictionary *>(this)->find(key); }

    bool contains(K const & key) const { return findAnywhere(key) != nullptr; }

    // The value of a key that must be present; a missing key ends the process ("Couldn't find key.").
    V & at(K const & key) {
        Bucket * const bucket = findAnywhere(key);
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
        if (element_count_ != 0) { // also tells the compiler that the shared empty bucket is never shifted
            if (Bucket * const bucket = findBucket(key, static_cast<std::uint64_t>(hash_(key)))) {
                eraseBucket(bucket);
                return 1;
            }
        }
        if constexpr (has_side_table) {
            if (side_ != nullptr) {
                return side_->erase(key);
            }
        }
        return 0;
    }

    // Removes the entry at `position` and returns where a walk in bucket order goes on. The
    // shift that closes the gap may bring back an entry that the walk has passed, when its
    // cluster wraps around the end of the table: erasing by a condition stays correct, but a
    // walk must not count on meeting each entry only once.
    iterator erase(const_iterator position) noexcept {
        Bucket * const bucket = const_cast<Bucket *>(position.bucket_);
        if constexpr (has_side_table) {
            if (!inMainTable(bucket)) {
                side_->eraseBucket(bucket);
                return iterator(bucket->distance >= 0 ? bucket : NextLive(bucket), this);
            }
        }
        eraseBucket(bucket);
        return iteratorAt(bucket->distance >= 0 ? bucket : NextLive(bucket));
    }

    // Destroys all entries and keeps the buckets of the main table.
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
        side_.reset();
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

    // The probe distance of the key's bucket, or -1 when the key is absent from the main table.
    int probeDistanceForTesting(K const & key) const {
        Bucket const * const bucket = findBucket(key, static_cast<std::uint64_t>(hash_(key)));
        return bucket != nullptr ? bucket->distance : -1;
    }

    // The entries kept in the side table.
    size_type sideTableSizeForTesting() const noexcept { return sideCount(); }

  private:
    static constexpr size_type max_table_size = 0x4000000000000000ULL;
    static constexpr size_type max_bucket_count = 0xAAAAAAAAAAAAAAAULL;
    // A carried entry that is swapped in this far from its home makes the next insertion grow the table.
    static constexpr int long_displacement = 4096;
    // The largest distance a bucket can record. A hash without a secret form that piles more keys
    // onto one stretch of the table ends the process as "maximum size" rather than wrap the
    // distance and corrupt it.
    static constexpr int max_distance = 32767;
    // With a side table, entries go there rather than this far from home, and a key goes there
    // rather than join this many keys of its own stored hash.
    static constexpr int side_table_distance = 8192;
    static constexpr int side_table_same_hash = 16;
    // A displacement makes a table grow only while it is at least this full (a fraction 1/n):
    // no ordinary key is carried 4096 buckets in a sparser table, only keys chosen to collide.
    static constexpr size_type displacement_growth_sparsest = 8;
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

    size_type sideCount() const noexcept {
        if constexpr (has_side_table) {
            return side_ != nullptr ? side_->size() : 0;
        } else {
            return 0;
        }
    }

    // The iterator on a bucket of either table, or on the end of the main table (from where a
    // walk goes on into the side table, when there is one).
    iterator iteratorAt(Bucket * bucket) noexcept {
        if constexpr (has_side_table) {
            if (side_ != nullptr) [[unlikely]] {
                return iterator(bucket, this);
            }
        }
        return iterator(bucket, nullptr);
    }

    bool inMainTable(Bucket const * bucket) const noexcept {
        std::less<Bucket const *> const before;
        return !before(bucket, buckets_) && before(bucket, buckets_ + bucket_count_);
    }

    // The bucket of the key in the main table, or null.
    Bucket * findBucket(K const & key, std::uint64_t hash) const {
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

    Bucket * findInSideTable(K const & key) const {
        if constexpr (has_side_table) {
            if (side_ != nullptr) [[unlikely]] {
                return side_->findBucket(key, static_cast<std::uint64_t>(side_->hash_(key)));
            }
        }
        (void)key;
        return nullptr;
    }

    Bucket * findAnywhere(K const & key) const {
        Bucket * const bucket = findBucket(key, static_cast<std::uint64_t>(hash_(key)));
        return bucket != nullptr ? bucket : findInSideTable(key);
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

    SideTable & sideTable() {
        if (side_ == nullptr) {
            side_ = std::make_unique<SideTable>(min_load_factor_, max_load_factor_);
        }
        return *side_;
    }

    template <class KeyArg, class... ValueArgs>
    std::pair<iterator, bool> emplaceNew(KeyArg && key, ValueArgs &&... value) {
        std::uint64_t const hash = static_cast<std::uint64_t>(hash_(key));
        std::uint64_t index = hash & mask_;
        int distance = 0;
        while (distance <= buckets_[index].distance) {
            if (Matches(buckets_[index], key, hash)) {
                return {iteratorAt(&buckets_[index]), false};
            }
            ++distance;
            index = (index + 1) & mask_;
        }
        if constexpr (has_side_table) {
            if (side_ != nullptr) [[unlikely]] {
                if (Bucket * const bucket = findInSideTable(key)) {
                    return {iteratorAt(bucket), false};
                }
            }
            // Only a walk of at least side_table_same_hash buckets can have met that many keys
            // of the new key's stored hash, so short walks are not counted.
            if (distance >= side_table_same_hash) [[unlikely]] {
                if (distance >= side_table_distance || SameHashesOnWalk(hash, distance) >= side_table_same_hash) {
                    Bucket * const bucket =
                        sideTable().emplaceNew(std::forward<KeyArg>(key), std::forward<ValueArgs>(value)...).first.bucket_;
                    return {iteratorAt(bucket), true};
                }
            }
        }

        size_type rehash_to = 0;
        bool growing = element_count_ >= load_threshold_;
        if (grow_on_next_insert_ && !growing) {
            grow_on_next_insert_ = false;
            growing = !has_side_table || element_count_ * displacement_growth_sparsest >= bucket_count_;
        }
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
        return {iteratorAt(placed), true};
    }

    // The residents of the `distance` buckets from the home of `hash` on that share its stored hash.
    int SameHashesOnWalk(std::uint64_t hash, int distance) const noexcept {
        std::uint32_t const stored_hash = static_cast<std::uint32_t>(hash);
        std::uint64_t index = hash & mask_;
        int same = 0;
        for (int step = 0; step < distance; ++step) {
            same += buckets_[index].truncated_hash == stored_hash;
            index = (index + 1) & mask_;
        }
        return same;
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

    // True when an entry must not be kept `distance` buckets from its home.
    static bool TooFar(int distance) noexcept {
        if constexpr (has_side_table) {
            return distance >= side_table_distance;
        } else {
            if (distance > max_distance) [[unlikely]] {
                DictionaryFailure::TableTooLarge();
            }
            return false;
        }
    }

    // Moves an entry that may not stay in the main table into the side table. Out of line, so
    // that the placement it is called from stays small enough to inline.
    [[gnu::noinline, gnu::cold]] Bucket * moveToSideTable(Entry && entry) {
        if constexpr (has_side_table) {
            return sideTable().emplaceNew(std::move(entry.key_), std::move(entry.value_)).first.bucket_;
        } else {
            (void)entry;
            return nullptr;
        }
    }

    // Stores a new entry at the end of its probe walk (`index`, `distance`), displacing residents
    // that are closer to home, and returns the bucket where the new entry itself landed. Counts
    // the entry that ends up in an empty bucket of the main table; one that would land too far
    // from home goes into the side table instead.
    template <class... Args>
    Bucket * placeEntry(std::uint64_t index, int distance, std::uint64_t hash, Args &&... args) {
        if (TooFar(distance)) [[unlikely]] {
            return moveToSideTable(Entry(std::forward<Args>(args)...));
        }
        Bucket * bucket = buckets_ + index;
        if (bucket->distance < 0) {
            ::new (static_cast<void *>(&bucket->entry)) Entry(std::forward<Args>(args)...);
            bucket->truncated_hash = static_cast<std::uint32_t>(hash);
            bucket->distance = static_cast<std::int16_t>(distance);
            ++element_count_;
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
                if (TooFar(++distance)) [[unlikely]] {
                    moveToSideTable(std::move(carried));
                    return placed;
                }
                bucket = buckets_ + index;
                if (bucket->distance < 0) {
                    ::new (static_cast<void *>(&bucket->entry)) Entry(std::move(carried));
                    bucket->truncated_hash = carried_hash;
                    bucket->distance = static_cast<std::int16_t>(distance);
                    ++element_count_;
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

    // Moves every entry of the main table into a new table of at least `wanted` buckets (rounded
    // up to a power of two).
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
        element_count_ = 0;

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
        if constexpr (has_side_table) {
            if (other.side_ != nullptr) {
                side_ = std::make_unique<SideTable>(*other.side_);
            }
        }
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
        side_.reset();
    }

    std::uint64_t mask_;
    BucketStorage bucket_storage_;
    Bucket * buckets_;
    std::uint64_t bucket_count_;
    std::uint64_t element_count_; // entries of the main table
    std::uint64_t load_threshold_;
    float min_load_factor_;
    float max_load_factor_;
    bool grow_on_next_insert_;
    bool try_shrink_on_next_insert_;
    [[no_unique_address]] Hash hash_;
    // Keys chosen to collide; null until the first of them comes.
    std::unique_ptr<SideTable> side_;
};

} // namespace QELTA
