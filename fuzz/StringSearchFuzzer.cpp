// Fuzz target: searches against std::string_view, wildcards against a plain matcher, and the
// text-deriving operations on arbitrary bytes. The first byte sets where needle and text part.
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringView.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace {

using QELTA::String;
using QELTA::StringView;
using QELTA::Fuzzing::Check;

// '*' any run, '?' any byte, all else exactly; memoised over (pattern, text) positions.
bool PlainWildcard(std::string_view pattern, std::string_view text) {
    std::basic_string<char> memo((pattern.size() + 1) * (text.size() + 1), 2);
    auto match = [&](auto & self, std::size_t p, std::size_t t) -> bool {
        char & cell = memo[p * (text.size() + 1) + t];
        if (cell != 2) {
            return cell != 0;
        }
        bool result = false;
        if (p == pattern.size()) {
            result = t == text.size();
        } else if (pattern[p] == '*') {
            result = self(self, p + 1, t) || (t < text.size() && self(self, p, t + 1));
        } else {
            result = t < text.size() && (pattern[p] == '?' || pattern[p] == text[t]) && self(self, p + 1, t + 1);
        }
        cell = result ? 1 : 0;
        return result;
    };
    return match(match, 0, 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size == 0 || size > 2048) {
        return 0;
    }
    std::size_t const split = data[0] % size;
    std::string const needle(reinterpret_cast<char const *>(data) + 1, split);
    std::string const haystack(reinterpret_cast<char const *>(data) + 1 + split, size - 1 - split);
    StringView const n(needle);
    StringView const h(haystack);

    std::string_view const hv(haystack);
    auto const expect = [](std::size_t position) {
        return position == std::string_view::npos ? StringView::not_found : static_cast<unsigned int>(position);
    };
    Check(h.indexOf(n, false, 0) == expect(hv.find(needle)));
    if (!needle.empty() && needle.size() <= haystack.size()) {
        Check(h.lastIndexOf(n, false) == expect(hv.rfind(needle)));
    }
    if (needle.size() <= 64 && haystack.size() <= 256) {
        Check(h.matchesWildcard(n) == PlainWildcard(needle, haystack));
    }

    String const text(h);
    (void)text.split(needle.empty() ? ',' : needle[0], true);
    (void)text.split(needle.empty() ? ',' : needle[0], false);
    (void)h.toTitleString();
    (void)h.predictNextStringIncrement();
    (void)h.toLower();
    (void)h.shortenString(static_cast<unsigned int>(split));
    (void)h.insertNewLines(static_cast<unsigned int>(split) + 1);
    (void)StringView::AlphaNumericCompare(n, h);
    String replaced(text);
    if (!needle.empty()) {
        replaced.replace(n, StringView("<>"), true, 0);
    }
    return 0;
}
