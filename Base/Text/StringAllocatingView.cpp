// StringAllocatingView: borrowing, owning on first change, and the changes that look before they copy.
#include "Base/Text/StringAllocatingView.h"

#include "Base/Text/UTF8Iterator.h"

#include <cstdint>
#include <utility>

namespace QELTA {
namespace {

// Whether a one-byte character from `start` on would change its case.
bool HasLetterToChange(StringView const & text, unsigned int start, bool upper) noexcept {
    UTF8Iterator walker(text.substr(start));
    while (!walker.isEmpty()) {
        char const first = walker.remaining()[0];
        unsigned int const before = walker.remaining().size();
        walker.nextChar();
        if (before - walker.remaining().size() == 1 &&
            (upper ? StringView::ToUpperASCII(first) != first : StringView::ToLowerASCII(first) != first)) {
            return true;
        }
    }
    return false;
}

bool PointsInto(StringView const & text, String const & store) noexcept {
    auto const address = reinterpret_cast<std::uintptr_t>(text.data());
    auto const first = reinterpret_cast<std::uintptr_t>(store.data());
    return store.size() != 0 && address >= first && address < first + store.size();
}

} // namespace

StringAllocatingView::StringAllocatingView(String && text) noexcept : store_(std::move(text)) {
    view_ = store_.view();
}

StringAllocatingView::StringAllocatingView(StringAllocatingView const & other) : view_(other.view_) {
    if (other.isOwned()) {
        store_ = other.store_;
        view_ = store_.view();
    }
}

StringAllocatingView::StringAllocatingView(StringAllocatingView && other) noexcept
    : view_(other.view_), store_(std::move(other.store_)) {
    if (other.isOwned() || view_.data() == store_.data()) {
        view_ = store_.view();
    }
    other.view_ = StringView();
}

StringAllocatingView & StringAllocatingView::operator=(StringAllocatingView const & other) {
    if (this == &other) {
        return *this;
    }
    if (other.isOwned()) {
        store_ = other.store_;
        view_ = store_.view();
        return *this;
    }
    view_ = StringView();
    store_.clear();
    return borrow(other.view_);
}

StringAllocatingView & StringAllocatingView::operator=(StringAllocatingView && other) noexcept {
    if (this == &other) {
        return *this;
    }
    bool const owned = other.isOwned();
    view_ = other.view_;
    store_ = std::move(other.store_);
    if (owned) {
        view_ = store_.view();
    }
    other.view_ = StringView();
    return *this;
}

void StringAllocatingView::own() {
    if (isOwned()) {
        return;
    }
    store_ = view_; // the view may show bytes of the store that it no longer owns
    view_ = store_.view();
}

StringAllocatingView & StringAllocatingView::borrow(StringView const & text) {
    if (!isEmpty()) {
        return append(text);
    }
    if (PointsInto(text, store_)) {
        store_ = text;
        view_ = store_.view();
        return *this;
    }
    store_.clear();
    view_ = text;
    return *this;
}

StringAllocatingView & StringAllocatingView::append(StringView const & text) {
    if (text.size() == 0) {
        return *this;
    }
    own();
    store_.append(text);
    view_ = store_.view();
    return *this;
}

StringAllocatingView & StringAllocatingView::append(char c) {
    own();
    store_.append(c);
    view_ = store_.view();
    return *this;
}

StringAllocatingView & StringAllocatingView::clear() noexcept {
    view_ = StringView();
    store_.clear();
    return *this;
}

StringAllocatingView & StringAllocatingView::insert(unsigned int index, char c) {
    own();
    store_.insert(index < store_.size() ? index : store_.size(), c);
    view_ = store_.view();
    return *this;
}

StringAllocatingView & StringAllocatingView::makeLower(unsigned int start) {
    return changeCase(start, false);
}

StringAllocatingView & StringAllocatingView::makeUpper(unsigned int start) {
    return changeCase(start, true);
}

StringAllocatingView & StringAllocatingView::changeCase(unsigned int start, bool upper) {
    if (!HasLetterToChange(view_, start, upper)) {
        return *this;
    }
    own();
    if (upper) {
        store_.makeUpper(start);
    } else {
        store_.makeLower(start);
    }
    view_ = store_.view();
    return *this;
}

StringAllocatingView & StringAllocatingView::replace(StringView const & from, StringView const & to, bool ignore_case,
                                                     unsigned int start) {
    if (from.size() == 0 || from == to || view_.indexOf(from, ignore_case, start) == StringView::not_found) {
        return *this;
    }
    own();
    store_.replace(from, to, ignore_case, start);
    view_ = store_.view();
    return *this;
}

template <class ToBuffer>
StringAllocatingView & StringAllocatingView::replaceAll(StringViewBuffer const & from, ToBuffer const & to,
                                                        bool ignore_case, unsigned int start) {
    unsigned int const entries = from.size() < to.size() ? from.size() : to.size();
    bool found = false;
    for (unsigned int k = 0; k < entries && !found; ++k) {
        found = from[k].size() != 0 && view_.indexOf(from[k], ignore_case, start) != StringView::not_found;
    }
    if (!found) {
        return *this;
    }
    own();
    store_.replace(from, to, ignore_case, start);
    view_ = store_.view();
    return *this;
}

StringAllocatingView & StringAllocatingView::replace(StringViewBuffer const & from, StringViewBuffer const & to,
                                                     bool ignore_case, unsigned int start) {
    return replaceAll(from, to, ignore_case, start);
}

StringAllocatingView & StringAllocatingView::replace(StringViewBuffer const & from, StringBuffer const & to,
                                                     bool ignore_case, unsigned int start) {
    return replaceAll(from, to, ignore_case, start);
}

StringAllocatingView & StringAllocatingView::removeElement(char c, unsigned int start) {
    unsigned int const first = view_.indexOf(c, start);
    if (first == StringView::not_found) {
        return *this;
    }
    own();
    char * bytes = store_.data();
    unsigned int kept = first;
    for (unsigned int i = first; i < store_.size(); ++i) {
        if (bytes[i] != c) {
            bytes[kept++] = bytes[i];
        }
    }
    store_.setSize(kept);
    view_ = store_.view();
    return *this;
}

} // namespace QELTA
