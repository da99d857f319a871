// Tests of Buffer: the growth rule, the text terminator, alignment and element lifetimes.
#include "Base/Text/Buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace QELTA {
namespace {

template <std::size_t N>
struct Bytes {
    unsigned char b[N];
};

// The capacities a buffer passes through while `count` elements are added one at a time.
template <class T>
std::vector<unsigned int> CapacitySteps(unsigned int count, T element = T{}) {
    Buffer<T> buffer;
    std::vector<unsigned int> steps;
    for (unsigned int i = 0; i < count; ++i) {
        buffer.add(element);
        if (steps.empty() || steps.back() != buffer.capacity()) {
            steps.push_back(buffer.capacity());
        }
        if constexpr (std::is_same_v<T, char>) {
            EXPECT_EQ(buffer.data()[buffer.size()], 0); // one byte past the capacity while full
        }
    }
    return steps;
}

TEST(BufferTest, GrowsElementByElementByTheByteRule) {
    // Worked by hand: double below 256 bytes, then add half, at least 8 elements more, rounded
    // to 64 bytes below 4096 and to 4096 bytes below 65536.
    struct Row {
        char const * element;
        std::vector<unsigned int> actual;
        std::vector<unsigned int> expected;
    } const rows[] = {
        {"1 byte", CapacitySteps<unsigned char>(8193), {64, 128, 256, 384, 576, 896, 1344, 2048, 3072, 8192, 12288}},
        {"8 bytes", CapacitySteps<std::uint64_t>(1025), {8, 16, 32, 48, 72, 112, 168, 256, 384, 1024, 1536}},
        {"24 bytes", CapacitySteps<Bytes<24>>(342), {8, 16, 24, 37, 56, 85, 128, 341, 512}},
        {"80 bytes", CapacitySteps<Bytes<80>>(103), {8, 16, 24, 36, 102, 153}},
        {"text", CapacitySteps<char>(1345, 'x'), {64, 128, 256, 384, 576, 896, 1344, 2048}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.element);
        EXPECT_EQ(row.actual, row.expected);
    }
}

TEST(BufferTest, TextIsAlwaysZeroTerminated) {
    Buffer<char> text;
    ASSERT_NE(text.data(), nullptr);
    EXPECT_STREQ(text.data(), "");
    text.append("abcdef", 6);
    text.removeLast();
    EXPECT_STREQ(text.data(), "abcde");
    text.setSize(2);
    EXPECT_STREQ(text.data(), "ab");
    text.removeIndex(2); // past the end: nothing to remove
    EXPECT_STREQ(text.data(), "ab");
    text.clear();
    text.removeLast();
    EXPECT_STREQ(text.data(), "");
    EXPECT_EQ(text.size(), 0u);
    Buffer<char> moved(std::move(text));
    EXPECT_STREQ(text.data(), "");
}

TEST(BufferTest, BulkRequestsTakeExactlyWhatIsAsked) {
    std::vector<std::uint64_t> const values(1000, 7);
    Buffer<std::uint64_t> reserved, appended, one_by_one;
    reserved.ensureCapacity(1000);
    appended.append(values.data(), 1000);
    for (std::uint64_t value : values) {
        one_by_one.add(value);
    }
    EXPECT_EQ(reserved.capacity(), 1000u);
    EXPECT_EQ(appended.capacity(), 1000u);
    EXPECT_EQ(one_by_one.capacity(), 1024u);
}

template <class T, std::size_t Alignment>
void ExpectAlignedThroughGrowth() {
    Buffer<T> buffer;
    T const * last_data = nullptr;
    for (unsigned int i = 0; i < 20000; ++i) {
        T element{};
        std::memcpy(element.b, &i, sizeof i);
        buffer.add(element);
        if (buffer.data() != last_data) { // moved: aligned, and every element came along
            last_data = buffer.data();
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(last_data) % Alignment, 0u) << buffer.capacity();
            for (unsigned int j = 0; j <= i; ++j) {
                ASSERT_EQ(std::memcmp(buffer[j].b, &j, sizeof j), 0);
            }
        }
    }
}

TEST(BufferTest, WideElementsStayAlignedAcrossGrowth) {
    ExpectAlignedThroughGrowth<Bytes<32>, 32>();
    ExpectAlignedThroughGrowth<Bytes<64>, 64>();
}

// Owns heap memory, so that a missed or doubled destructor shows as a leak or a double free, and
// counts how many of its kind are alive.
struct Owned {
    static inline int live = 0;
    Owned(int v = 0) : value(new int(v)) { ++live; }
    Owned(Owned const & other) : value(new int(*other.value)) { ++live; }
    Owned & operator=(Owned const & other) {
        *value = *other.value;
        return *this;
    }
    ~Owned() {
        delete value;
        --live;
    }
    int * value;
};

std::vector<int> Values(Buffer<Owned> const & buffer) {
    std::vector<int> values;
    for (Owned const & element : buffer) {
        values.push_back(*element.value);
    }
    return values;
}

TEST(BufferTest, ConstructsAndDestroysEachNonPrimitiveElementOnce) {
    Owned::live = 0;
    {
        Buffer<Owned> buffer;
        for (int i = 0; i < 9; ++i) { // one past the first capacity, so the elements are relocated
            buffer.add(Owned(i));
        }
        using B = Buffer<Owned>;
        struct Step {
            char const * name;
            void (*apply)(B &);
            std::vector<int> expected;
        } const steps[] = {
            {"insert at front", [](B & b) { b.add(0, Owned(-1)); }, {-1, 0, 1, 2, 3, 4, 5, 6, 7, 8}},
            {"remove index", [](B & b) { b.removeIndex(1); }, {-1, 1, 2, 3, 4, 5, 6, 7, 8}},
            {"remove last", [](B & b) { b.removeLast(); }, {-1, 1, 2, 3, 4, 5, 6, 7}},
            {"shrink", [](B & b) { b.setSize(3); }, {-1, 1, 2}},
            {"grow", [](B & b) { b.setSize(5); }, {-1, 1, 2, 0, 0}},
            {"append itself", [](B & b) { b.addAll(b); }, {-1, 1, 2, 0, 0, -1, 1, 2, 0, 0}},
            {"copy assign",
             [](B & b) {
                 B const other{Owned(4), Owned(5)};
                 b = other;
             },
             {4, 5}},
            {"move assign", [](B & b) { b = B(B{Owned(6)}); }, {6}},
            {"copy and move", [](B & b) { b = B(B(b)); }, {6}},
            {"clear", [](B & b) { b.clear(); }, {}},
        };
        for (Step const & step : steps) {
            SCOPED_TRACE(step.name);
            step.apply(buffer);
            EXPECT_EQ(Values(buffer), step.expected);
            EXPECT_EQ(Owned::live, static_cast<int>(buffer.size()));
        }
    }
    EXPECT_EQ(Owned::live, 0);
}

// Adds zeros until the next add must grow the buffer.
template <class T>
void FillToCapacity(Buffer<T> & buffer) {
    while (buffer.size() < buffer.capacity()) {
        buffer.add(T(0));
    }
}

TEST(BufferTest, AddsItsOwnElementWhileGrowing) {
    Buffer<Owned> owned{Owned(1), Owned(2)};
    FillToCapacity(owned);
    owned.add(owned[0]);
    EXPECT_EQ(*owned.last().value, 1);
    FillToCapacity(owned);
    owned.add(0, owned[1]);
    EXPECT_EQ(*owned[0].value, 2);
    EXPECT_EQ(*owned[1].value, 1);
    Buffer<std::uint64_t> plain{42};
    FillToCapacity(plain);
    plain.add(plain[0]);
    EXPECT_EQ(plain.last(), 42u);
}

TEST(BufferTest, IndexOfReportsAllBitsSetWhenAbsent) {
    Buffer<int> const numbers{5, 7, 5};
    EXPECT_EQ(numbers.indexOf(7), 1u);
    EXPECT_EQ(numbers.indexOf(9), 0xFFFFFFFFu);
    Buffer<unsigned char, DefaultBufferAllocator<unsigned char, unsigned long long>> const bytes{1, 2};
    EXPECT_EQ(bytes.indexOf(3), 0xFFFFFFFFFFFFFFFFull);
}

} // namespace
} // namespace QELTA
