// StringAllocatingView: a text that borrows its bytes until a change forces it to own a copy.
//
// It is the result of the operations that usually need no copy (toLower, shortenString, ...) and
// the target of every conversion to text. While it borrows, whoever owns the foreign bytes keeps
// them alive; once it owns, it is a value like String. It has no lock. No operation raises; a
// failed allocation leaves the owned text empty, as for String.
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

// Two fields, in this order: `view_`, the text shown, and `store_`, empty until the object must
// own. While it borrows, `store_` is empty and `view_` shows foreign bytes (often a literal);
// once it owns, `view_` shows all of `store_`.
//
// For the conversions to text (StringStream<T>::toString), which append and never replace:
//   - borrow(text): when the shown text is empty, show `text` without copying (a literal, or a
//     text the caller keeps alive); otherwise the same as append(text).
//   - append(text), append(c): own, then add to what is shown. `text` may be any bytes,
//     the shown ones included; an empty `text` changes nothing and copies nothing.
//   - clear(): show nothing and borrow again, keeping the store's allocation.
// So "when out is empty and the form is a literal, out borrows it; otherwise out becomes owned
// and the text is appended" is `out.borrow(literal)` and `out.append(text)`.
//
// The changing operations first look for a reason to act; a text with no match, no letter to
// change or no byte to remove stays borrowed and copies nothing.
class QELTA_BASE_EXPORT StringAllocatingView {
  public:
    StringAllocatingView() noexcept = default;
    // Borrows `text`.
    StringAllocatingView(StringView const & text) noexcept : view_(text) {}
    // Owns `text`.
    explicit StringAllocatingView(String && text) noexcept;

    StringAllocatingView(StringAllocatingView const & other);
    StringAllocatingView(StringAllocatingView && other) noexcept;
    StringAllocatingView & operator=(StringAllocatingView const & other);
    StringAllocatingView & operator=(StringAllocatingView && other) noexcept;
    ~StringAllocatingView() = default;

    StringView const & view() const noexcept { return view_; }
    operator StringView() const noexcept { return view_; }
    char const * data() const noexcept { return view_.data(); }
    unsigned int size() const noexcept { return view_.size(); }
    bool isEmpty() const noexcept { return view_.size() == 0; }
    // The owned bytes; empty while the text is borrowed.
    String const & store() const noexcept { return store_; }
    bool isOwned() const noexcept { return view_.data() == store_.data(); }

    StringAllocatingView & borrow(StringView const & text);
    StringAllocatingView & append(StringView const & text);
    StringAllocatingView & append(char c);
    StringAllocatingView & clear() noexcept;

    // Inserts `c` at byte `index` (at most size()); this always owns.
    StringAllocatingView & insert(unsigned int index, char c);
    // As String::makeLower and makeUpper, owning only when a letter changes.
    StringAllocatingView & makeLower(unsigned int start = 0);
    StringAllocatingView & makeUpper(unsigned int start = 0);
    // As String::replace, owning only when something matches.
    StringAllocatingView & replace(StringView const & from, StringView const & to, bool ignore_case = false,
                                   unsigned int start = 0);
    StringAllocatingView & replace(StringViewBuffer const & from, StringViewBuffer const & to, bool ignore_case = false,
                                   unsigned int start = 0);
    StringAllocatingView & replace(StringViewBuffer const & from, StringBuffer const & to, bool ignore_case = false,
                                   unsigned int start = 0);
    // Removes every byte equal to `c` at or after `start`, owning only when there is one.
    StringAllocatingView & removeElement(char c, unsigned int start = 0);

  private:
    // Copies a borrowed text into the store; an owned one stays.
    void own();
    // makeLower or makeUpper, owning only when a letter changes.
    StringAllocatingView & changeCase(unsigned int start, bool upper);
    template <class ToBuffer>
    StringAllocatingView & replaceAll(StringViewBuffer const & from, ToBuffer const & to, bool ignore_case,
                                      unsigned int start);

    StringView view_;
    String store_;
};

} // namespace QELTA
