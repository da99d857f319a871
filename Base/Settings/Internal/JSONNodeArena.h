// JSONNode::Arena: the blocks that hold the nodes, texts and children's arrays of a tree read
// from text, and the String and Buffer that show such storage without owning it.
//
// An arena is shared by the nodes that refer to it and goes with the last of them; its owner
// count is atomic, since the parts of a tree moved apart may end in different threads. Filling
// it is not thread-safe: one reader fills one arena. A failed allocation throws std::bad_alloc.
#pragma once

#include "Base/Settings/JSONNode.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

namespace QELTA {
namespace Internal {

// A String that shows bytes it does not own: with a capacity of 0 it never frees them, and a
// change that needs room starts from fresh storage, so such a text is replaced, never grown.
class BorrowedText : public String {
  public:
    BorrowedText(char * text, unsigned int size) noexcept {
        data_ = text;
        size_ = size;
    }
};

// The same for the children of a node.
class BorrowedNodes : public Buffer<JSONNode *> {
  public:
    BorrowedNodes(JSONNode ** nodes, unsigned int size) noexcept {
        data_ = nodes;
        size_ = size;
    }
};

template <class T>
bool IsBorrowed(Buffer<T> const & buffer) noexcept {
    return buffer.capacity() == 0 && !buffer.isEmpty();
}

} // namespace Internal

// Bump allocation in blocks that double up to a limit; a request too large for the current
// block gets a block of its own. Nothing is freed before the arena, which goes when its last
// owner releases it (owners may sit in different threads once a tree has been moved apart).
class JSONNode::Arena {
  public:
    Arena() = default;
    Arena(Arena const &) = delete;
    Arena & operator=(Arena const &) = delete;

    void retain() noexcept { owners_.fetch_add(1, std::memory_order_relaxed); }
    static void Release(Arena * arena) noexcept {
        if (arena->owners_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete arena;
        }
    }
    bool isEmpty() const noexcept { return blocks_ == nullptr; }
    // Records that a node of the arena holds memory of the heap: from then on every node of a
    // tree that lives here is destroyed one by one; until then none needs to be.
    void touch() noexcept { touched_.store(true, std::memory_order_relaxed); }
    bool isTouched() const noexcept { return touched_.load(std::memory_order_relaxed); }

    // A new node of the arena, as JSONNode() or, given a name, as JSONNode(name).
    JSONNode * makeNode(StringView const * name) {
        auto * const node = ::new (allocate(sizeof(JSONNode), alignof(JSONNode))) JSONNode();
        node->in_arena_ = true;
        node->arena_ = this;
        if (name != nullptr) {
            node->name_ = text(*name);
            node->type_ = OBJECT;
        }
        return node;
    }
    // A zero-terminated copy of `text` in the arena; the empty text for an empty one.
    String text(StringView const & text) {
        if (text.isEmpty()) {
            return String();
        }
        auto * const bytes = static_cast<char *>(allocate(text.size() + 1u, 1));
        Copy(bytes, text.data(), text.size());
        bytes[text.size()] = 0;
        return Internal::BorrowedText(bytes, text.size());
    }
    // A copy of `count` node pointers in the arena.
    Buffer<JSONNode *> nodes(JSONNode * const * nodes, unsigned int count) {
        auto * const copy = static_cast<JSONNode **>(allocate(sizeof(JSONNode *) * count, alignof(JSONNode *)));
        std::memcpy(copy, nodes, sizeof(JSONNode *) * count);
        return Internal::BorrowedNodes(copy, count);
    }

    // Appends `child` to children that only this function has filled: their block has room up to
    // the next power of two of their count, and is replaced by one twice as large when full.
    void append(Buffer<JSONNode *> & children, JSONNode * child) {
        unsigned int const count = children.size();
        JSONNode ** nodes = children.data();
        if ((count & (count - 1)) == 0) {
            std::size_t const room = count == 0 ? 1 : std::size_t(count) * 2;
            auto * const grown = static_cast<JSONNode **>(allocate(sizeof(JSONNode *) * room, alignof(JSONNode *)));
            if (count != 0) {
                std::memcpy(grown, nodes, sizeof(JSONNode *) * count);
            }
            nodes = grown;
        }
        nodes[count] = child;
        children = Internal::BorrowedNodes(nodes, count + 1);
    }

  private:
    // memcpy, with the short texts that make up most of a document copied in place by two
    // overlapping moves rather than a call.
    static void Copy(char * to, char const * from, std::size_t size) noexcept {
        if (size >= 8 && size <= 16) {
            CopyEnds<std::uint64_t>(to, from, size);
        } else if (size >= 4 && size < 8) {
            CopyEnds<std::uint32_t>(to, from, size);
        } else if (size < 4) {
            for (std::size_t i = 0; i < size; ++i) {
                to[i] = from[i];
            }
        } else {
            std::memcpy(to, from, size);
        }
    }
    // The first and the last word of `size` bytes, which cover them all for sizeof(Word) up to
    // twice as many.
    template <class Word>
    static void CopyEnds(char * to, char const * from, std::size_t size) noexcept {
        Word head = 0;
        Word tail = 0;
        std::memcpy(&head, from, sizeof(Word));
        std::memcpy(&tail, from + size - sizeof(Word), sizeof(Word));
        std::memcpy(to, &head, sizeof(Word));
        std::memcpy(to + size - sizeof(Word), &tail, sizeof(Word));
    }

    static constexpr std::size_t first_block = 4096;
    static constexpr std::size_t largest_block = std::size_t(1) << 20;

    struct Block {
        Block * previous;
    };
    static constexpr std::size_t header =
        (sizeof(Block) + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);

    ~Arena() {
        while (blocks_ != nullptr) {
            Block * const previous = blocks_->previous;
            ::operator delete(blocks_);
            blocks_ = previous;
        }
    }

    void * allocate(std::size_t bytes, std::size_t alignment) {
        auto const at = (reinterpret_cast<std::uintptr_t>(next_) + alignment - 1) & ~(alignment - 1);
        if (next_ != nullptr && at + bytes <= reinterpret_cast<std::uintptr_t>(end_)) {
            next_ = reinterpret_cast<char *>(at + bytes);
            return reinterpret_cast<void *>(at);
        }
        return allocateBlock(bytes);
    }

    void * allocateBlock(std::size_t bytes) {
        if (bytes > next_size_ / 4) {
            // Kept apart, behind the current block, so that its free room stays in use.
            auto * const block = static_cast<Block *>(::operator new(header + bytes));
            if (blocks_ == nullptr) {
                block->previous = nullptr;
                blocks_ = block;
            } else {
                block->previous = blocks_->previous;
                blocks_->previous = block;
            }
            return reinterpret_cast<char *>(block) + header;
        }
        auto * const block = static_cast<Block *>(::operator new(next_size_));
        block->previous = blocks_;
        blocks_ = block;
        next_ = reinterpret_cast<char *>(block) + header + bytes;
        end_ = reinterpret_cast<char *>(block) + next_size_;
        next_size_ = std::min(next_size_ * 2, largest_block);
        return reinterpret_cast<char *>(block) + header;
    }

    Block * blocks_ = nullptr;
    char * next_ = nullptr;
    char * end_ = nullptr;
    std::size_t next_size_ = first_block;
    std::atomic<unsigned int> owners_{1};
    std::atomic<bool> touched_{false};
};

} // namespace QELTA
