// Tests of Dictionary: agreement with std::unordered_map, growth, probe layout and failure.
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace QELTA {
namespace {

// Every key is its own hash, so that homes and probe distances can be worked out by hand.
struct IdentityHash {
    std::uint64_t operator()(std::uint64_t key) const noexcept { return key; }
};

// Sends all keys to the last 37 buckets, so that clusters run long and wrap around the table end.
struct FewHomesHash {
    std::uint64_t operator()(std::uint64_t key) const noexcept { return ~(key % 37); }
};

// Three hashes for all keys, as keys chosen to collide would have; the secret form parts them.
struct ThreeHashes {
    std::uint64_t operator()(std::uint64_t key) const noexcept { return key % 3; }
    std::uint64_t secret(std::uint64_t key) const noexcept { return DictionarySecretHash(&key, sizeof(key)); }
};

struct StdStringHash {
    std::uint64_t operator()(std::string const & key) const noexcept { return std::hash<std::string>{}(key); }
};

template <class K>
K MakeKey(std::uint64_t n) {
    if constexpr (std::is_same_v<K, std::string>) {
        return "key " + std::to_string(n) + " long enough to live on the heap";
    } else {
        return n;
    }
}

template <class K, class Hash>
void ExpectSameContents(Dictionary<K, std::uint64_t, Hash> const & dictionary,
                        std::unordered_map<K, std::uint64_t> const & oracle) {
    std::size_t visited = 0;
    for (auto const & [key, value] : dictionary) {
        ++visited;
        auto const found = oracle.find(key);
        ASSERT_TRUE(found != oracle.end() && found->second == value);
    }
    ASSERT_EQ(visited, oracle.size());
    for (auto const & [key, value] : oracle) {
        auto const found = dictionary.find(key);
        ASSERT_TRUE(found != dictionary.end() && found->value() == value);
    }
}

// A long random run of every operation, checked step by step against std::unordered_map. The first
// half mostly adds keys and the second mostly erases them, so the table grows and then empties;
// now and then a walk erases every entry with an odd value.
template <class K, class Hash>
void RunAgainstUnorderedMap(float min_load, float max_load, std::uint64_t key_range, int operations) {
    Dictionary<K, std::uint64_t, Hash> dictionary(min_load, max_load);
    std::unordered_map<K, std::uint64_t> oracle;
    std::mt19937_64 random(20240611);
    for (int step = 0; step < operations; ++step) {
        K const key = MakeKey<K>(random() % key_range);
        std::uint64_t const value = random();
        unsigned const roll = static_cast<unsigned>(random() % 10) + (step < operations / 2 ? 0 : 3);
        if (roll < 4) {
            auto const [position, inserted] = dictionary.insert(key, value);
            auto const [expected, expected_inserted] = oracle.emplace(key, value);
            ASSERT_EQ(inserted, expected_inserted);
            ASSERT_TRUE(position->key() == key && position->value() == expected->second);
        } else if (roll < 6) {
            ASSERT_EQ(dictionary[key] += value, oracle[key] += value);
        } else if (roll < 8) {
            auto const found = dictionary.find(key);
            ASSERT_EQ(found != dictionary.end(), oracle.contains(key));
            ASSERT_TRUE(found == dictionary.end() || found->value() == oracle.at(key));
        } else if (roll < 12) {
            ASSERT_EQ(dictionary.erase(key), oracle.erase(key));
        } else if (auto const found = dictionary.find(key); found != dictionary.end()) {
            dictionary.erase(found);
            oracle.erase(key);
        }
        ASSERT_EQ(dictionary.size(), oracle.size());
        if (step % 4099 == 0) {
            ASSERT_NO_FATAL_FAILURE(ExpectSameContents(dictionary, oracle));
        }
        if (step % 50021 == 25000) {
            Dictionary<K, std::uint64_t, Hash> copy = dictionary;
            ASSERT_NO_FATAL_FAILURE(ExpectSameContents(copy, oracle));
            dictionary = std::move(copy);
        }
        if (step % 20011 == 10000) { // a walk that erases, across shifts that wrap around the end
            for (auto it = dictionary.begin(); it != dictionary.end();) {
                it = it->value() % 2 != 0 ? dictionary.erase(it) : std::next(it);
            }
            std::erase_if(oracle, [](auto const & entry) { return entry.second % 2 != 0; });
            ASSERT_NO_FATAL_FAILURE(ExpectSameContents(dictionary, oracle));
        }
    }
    ASSERT_NO_FATAL_FAILURE(ExpectSameContents(dictionary, oracle));
}

TEST(DictionaryTest, AgreesWithUnorderedMapUnderRandomOperations) {
    using Fnv = DictionaryHash<std::uint64_t>;
    struct Row {
        char const * name;
        void (*run)(float, float, std::uint64_t, int);
        float min_load, max_load;
        std::uint64_t key_range;
        int operations;
    } const rows[] = {
        {"byte hash", &RunAgainstUnorderedMap<std::uint64_t, Fnv>, 0.0f, 0.5f, 1 << 16, 200000},
        {"dense table", &RunAgainstUnorderedMap<std::uint64_t, Fnv>, 0.0f, 0.95f, 1 << 12, 100000},
        {"shrinking table", &RunAgainstUnorderedMap<std::uint64_t, Fnv>, 0.15f, 0.5f, 1 << 14, 100000},
        {"few homes, wrapping clusters", &RunAgainstUnorderedMap<std::uint64_t, FewHomesHash>, 0.0f, 0.5f, 600, 60000},
        {"heap-allocated string keys", &RunAgainstUnorderedMap<std::string, StdStringHash>, 0.1f, 0.5f, 1 << 12, 60000},
        {"colliding keys in the side table", &RunAgainstUnorderedMap<std::uint64_t, ThreeHashes>, 0.1f, 0.5f, 4000, 60000},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        row.run(row.min_load, row.max_load, row.key_range, row.operations);
    }
}

TEST(DictionaryTest, PlainKeysHashByFnv1aOverTheirBytes) {
    // Published FNV-1a 64-bit vectors for "a" and "foobar".
    using One = std::array<char, 1>;
    using Six = std::array<char, 6>;
    EXPECT_EQ(DictionaryHash<One>()(One{'a'}), 0xAF63DC4C8601EC8CULL);
    EXPECT_EQ(DictionaryHash<Six>()(Six{'f', 'o', 'o', 'b', 'a', 'r'}), 0x85944171F73967E8ULL);
}

TEST(DictionaryTest, NeverFilledTableOwnsNothingAndFindsNothing) {
    using Table = Dictionary<std::uint64_t, std::string>;
    Table dictionary;
    dictionary.reserve(0);
    EXPECT_EQ(dictionary.bucketCount(), 0u);
    EXPECT_TRUE(dictionary.find(0) == dictionary.end());
    EXPECT_TRUE(dictionary.begin() == dictionary.end());
    EXPECT_EQ(dictionary.erase(0), 0u);
    EXPECT_EQ(Table(dictionary).bucketCount(), 0u);
}

TEST(DictionaryTest, GrowsByDoublingWhenTheLoadThresholdIsReached) {
    // The threshold is bucketCount * maxLoadFactor, truncated; the factor is clamped to [0.2, 0.95].
    struct Row {
        float max_load;
        std::vector<std::uint64_t> buckets_after_each_insert;
    } const rows[] = {
        {0.5f, {2, 4, 8, 8, 16, 16, 16, 16, 32}},
        {2.0f, {2, 4, 4, 8, 8, 8, 8, 16}},
        {0.0f, {2, 4, 8, 16, 32, 32, 64, 64}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.max_load);
        Dictionary<std::uint64_t, int> dictionary(0.0f, row.max_load);
        std::vector<std::uint64_t> buckets;
        for (std::uint64_t key = 0; key < row.buckets_after_each_insert.size(); ++key) {
            dictionary[key] = 1;
            buckets.push_back(dictionary.bucketCount());
        }
        EXPECT_EQ(buckets, row.buckets_after_each_insert);
    }
}

TEST(DictionaryTest, ShrinksOnTheInsertionAfterErasuresBelowTheMinimumLoad) {
    // 1000 keys fill 2048 buckets; the shrink target is ceil((kept + 1) / 0.5) rounded up to a
    // power of two. The minimum factor is clamped to 0.15.
    struct Row {
        float min_load;
        std::uint64_t kept;
        std::uint64_t buckets_after_insert;
    } const rows[] = {{0.0f, 100, 2048}, {0.15f, 100, 256}, {0.15f, 300, 1024}, {0.5f, 400, 2048}};
    for (Row const & row : rows) {
        SCOPED_TRACE(testing::Message() << row.min_load << " keeping " << row.kept);
        Dictionary<std::uint64_t, int> dictionary(row.min_load, 0.5f);
        for (std::uint64_t key = 0; key < 1000; ++key) {
            dictionary[key] = 1;
        }
        for (std::uint64_t key = row.kept; key < 1000; ++key) {
            dictionary.erase(key);
        }
        EXPECT_EQ(dictionary.bucketCount(), 2048u);
        dictionary[5000] = 1;
        EXPECT_EQ(dictionary.bucketCount(), row.buckets_after_insert);
    }
}

TEST(DictionaryTest, PlacesAndShiftsEntriesByRobinHood) {
    // 16 buckets and the identity hash: a key's home is key % 16.
    struct Row {
        char const * name;
        std::vector<std::pair<char, std::uint64_t>> operations; // '+' inserts, '-' erases
        std::vector<std::pair<std::uint64_t, int>> distances;   // -1: absent
    } const rows[] = {
        {"erasing a lone entry leaves no trace", {{'+', 3}, {'-', 3}, {'+', 19}}, {{19, 0}, {3, -1}}},
        {"the rest of a cluster moves back", {{'+', 3}, {'+', 19}, {'+', 35}, {'-', 3}}, {{19, 0}, {35, 1}}},
        {"a resident nearer home is displaced", {{'+', 3}, {'+', 4}, {'+', 5}, {'+', 19}}, {{19, 1}, {4, 1}, {5, 1}}},
        {"an entry at home stops the shift", {{'+', 5}, {'+', 21}, {'+', 6}, {'-', 21}}, {{5, 0}, {6, 0}}},
        {"a cluster wraps around the end", {{'+', 15}, {'+', 31}, {'+', 0}}, {{15, 0}, {31, 1}, {0, 1}}},
        {"a shift wraps around the end", {{'+', 15}, {'+', 31}, {'+', 0}, {'-', 15}}, {{31, 0}, {0, 0}, {15, -1}}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        Dictionary<std::uint64_t, int, IdentityHash> dictionary;
        dictionary.reserve(8);
        ASSERT_EQ(dictionary.bucketCount(), 16u);
        for (auto const & [operation, key] : row.operations) {
            operation == '+' ? (void)dictionary.insert(key, 0) : (void)dictionary.erase(key);
        }
        for (auto const & [key, distance] : row.distances) {
            EXPECT_EQ(dictionary.probeDistanceForTesting(key), distance) << "key " << key;
        }
    }
}

// Keys below `far_home` all have home 0; the key far_home + n has home n.
struct ClusterHash {
    static constexpr std::uint64_t far_home = 1000000;
    std::uint64_t operator()(std::uint64_t key) const noexcept { return key < far_home ? 0 : key - far_home; }
};

TEST(DictionaryTest, GrowsAfterCarryingAnEntry4096BucketsFromHome) {
    for (std::uint64_t const cluster : {4095, 4096}) {
        SCOPED_TRACE(cluster);
        Dictionary<std::uint64_t, int, ClusterHash> dictionary;
        dictionary.reserve(20000);
        for (std::uint64_t key = 0; key < cluster; ++key) {
            dictionary.insert(key, 0);
        }
        dictionary.insert(ClusterHash::far_home + cluster, 0); // settles just behind the cluster
        dictionary.insert(cluster, 0);                         // displaces it at distance `cluster`
        dictionary.insert(ClusterHash::far_home + 30000, 0);
        EXPECT_EQ(dictionary.bucketCount(), cluster < 4096 ? 65536u : 131072u);
        EXPECT_EQ(dictionary.probeDistanceForTesting(cluster), static_cast<int>(cluster));
    }
}

TEST(DictionaryTest, InsertsAValueReadFromItselfWhileGrowing) {
    Dictionary<std::uint64_t, std::string> dictionary;
    dictionary.insert(0, std::string(100, 'v'));
    for (std::uint64_t key = 1; key < 100; ++key) {
        dictionary.insert(key, dictionary.at(0)); // the growth moves the entry that `value` refers to
    }
    for (auto const & [key, value] : dictionary) {
        ASSERT_EQ(value, std::string(100, 'v')) << key;
    }
}

// Texts of 20 two-byte blocks, each "aA" or "b ": the blocks add the same to the text hash
// (97 * 33 + 65 == 98 * 33 + 32), so all 2^20 such texts share one hash.
String CollidingText(std::uint32_t bits) {
    char text[41];
    for (int block = 0; block < 20; ++block) {
        std::memcpy(text + 2 * block, (bits >> block) & 1 ? "b " : "aA", 2);
    }
    return String(text, 40);
}

TEST(DictionaryTest, MillionKeysOfOneHashKeepWorking) {
    constexpr std::uint32_t count = 1u << 20;
    ASSERT_EQ(CollidingText(0).hash(), CollidingText(count - 1).hash());
    Dictionary<String, std::uint32_t> dictionary;
    for (std::uint32_t bits = 0; bits < count; ++bits) {
        ASSERT_TRUE(dictionary.insert(CollidingText(bits), bits).second);
    }
    EXPECT_EQ(dictionary.size(), count);
    EXPECT_GT(dictionary.sideTableSizeForTesting(), count - 100);
    EXPECT_LT(dictionary.bucketCount(), 64u); // the main table holds only the first few
    std::uint64_t sum = 0;
    for (auto const & [key, value] : dictionary) {
        sum += value;
    }
    EXPECT_EQ(sum, std::uint64_t{count} * (count - 1) / 2);
    for (std::uint32_t bits = 0; bits < count; bits += 2) {
        ASSERT_EQ(dictionary.erase(CollidingText(bits)), 1u);
    }
    for (std::uint32_t bits = 0; bits < count; ++bits) {
        auto const found = dictionary.find(CollidingText(bits));
        ASSERT_EQ(found != dictionary.end(), bits % 2 == 1);
        ASSERT_TRUE(found == dictionary.end() || found->value() == bits);
    }
    EXPECT_EQ(dictionary.size(), count / 2);
}

// Keys that never collided on purpose never reach the side table.
TEST(DictionaryTest, OrdinaryKeysStayInTheMainTable) {
    Dictionary<String, int> texts;
    Dictionary<std::uint64_t, int> numbers(0.0f, 0.95f);
    std::mt19937_64 random(7);
    for (int n = 0; n < 300000; ++n) {
        texts.insert(String(("key " + std::to_string(n)).c_str()), n);
        numbers.insert(random(), n);
    }
    EXPECT_EQ(texts.sideTableSizeForTesting(), 0u);
    EXPECT_EQ(numbers.sideTableSizeForTesting(), 0u);
}

// Distinct stored hashes that share one home: entries would lie 8192 buckets from home or more,
// and go into the side table instead; the table does not grow for them.
TEST(DictionaryTest, EntriesFarFromHomeGoToTheSideTable) {
    struct OneHomeInTheLowBits {
        std::uint64_t operator()(std::uint64_t key) const noexcept { return key << 16; }
        std::uint64_t secret(std::uint64_t key) const noexcept { return DictionarySecretHash(&key, sizeof(key)); }
    };
    Dictionary<std::uint64_t, std::uint64_t, OneHomeInTheLowBits> dictionary;
    dictionary.reserve(20000);
    for (std::uint64_t key = 0; key < 20000; ++key) {
        dictionary.insert(key, key);
    }
    EXPECT_EQ(dictionary.bucketCount(), 65536u);
    EXPECT_EQ(dictionary.sideTableSizeForTesting(), 20000u - 8192u);
    for (std::uint64_t key = 0; key < 20000; ++key) {
        ASSERT_EQ(dictionary.at(key), key);
        ASSERT_LT(dictionary.probeDistanceForTesting(key), 8192);
    }
}

TEST(DictionaryDeathTest, AtOfAMissingKeyEndsTheProcess) {
    Dictionary<std::uint64_t, int> empty;
    EXPECT_DEATH(empty.at(7), "^Couldn't find key\\.\n");
    Dictionary<std::uint64_t, int> filled;
    filled[1] = 1;
    EXPECT_DEATH(filled.at(7), "^Couldn't find key\\.\n");
}

// Inserts keys 0..last, all with home 0, so that key n lands n buckets from home.
void FillOneHome(std::uint64_t last) {
    struct OneHome {
        std::uint64_t operator()(std::uint64_t) const noexcept { return 0; }
    };
    Dictionary<std::uint64_t, char, OneHome> dictionary;
    dictionary.reserve(40000);
    for (std::uint64_t key = 0; key <= last; ++key) {
        dictionary.insert(key, 0);
    }
}

TEST(DictionaryDeathTest, DistanceBeyondSixteenBitsEndsTheProcess) {
    EXPECT_DEATH(FillOneHome(32768), "^The hash table exceeds its maximum size\\.\n");
}

} // namespace
} // namespace QELTA
