// A consumer of the installed library: counts words of its arguments with a Dictionary.
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringStream.h"

#include <cstdio>

int main(int argc, char ** argv) {
    QELTA::Dictionary<QELTA::String, unsigned int> counts;
    for (int i = 1; i < argc; ++i) {
        counts[QELTA::String(argv[i])] += 1;
    }
    QELTA::String text("words: ");
    QELTA::StringAllocatingView number;
    QELTA::StringStream<unsigned int>::toString(counts.size(), number);
    text.append(number.view());
    std::printf("%s\n", text.c_str());
    return 0;
}
