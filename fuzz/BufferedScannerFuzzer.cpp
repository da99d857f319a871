// Fuzz target: BufferedScanner and Scanner over arbitrary bytes. The first bytes choose the
// delimiter, the quote character, the switches and the sequence of field readers; every reader
// runs on every line, then a seek to a chosen byte. No read may leave the current line or the
// buffer, and every loop over lines and fields must end.
#include "Base/Files/BufferedScanner.h"
#include "Base/Files/Scanner.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>

namespace {

using QELTA::BufferedScanner;
using QELTA::Scanner;
using QELTA::String;
using QELTA::StringView;
using QELTA::Fuzzing::Check;

// A view from getNext() is null, or lies inside the current line.
void CheckInside(Scanner const & scanner, StringView const & view) {
    if (view.data() == nullptr) {
        return;
    }
    char const * const begin = scanner.currentLine().data();
    Check(view.data() >= begin && view.data() + view.size() <= begin + scanner.getLineLength());
}

// One reader, chosen by `kind`.
void ReadField(Scanner & scanner, unsigned char kind) {
    switch (kind % 20) {
    case 0:
        scanner.getNext<char>();
        break;
    case 1:
        scanner.getNext<signed char>();
        break;
    case 2:
        scanner.getNext<unsigned char>();
        break;
    case 3:
        scanner.getNext<short>();
        break;
    case 4:
        scanner.getNext<unsigned short>();
        break;
    case 5:
        scanner.getNext<int>();
        break;
    case 6:
        scanner.getNext<unsigned int>();
        break;
    case 7:
        scanner.getNext<long long>();
        break;
    case 8:
        scanner.getNext<float>();
        break;
    case 9:
        scanner.getNext<double>();
        break;
    case 10:
        scanner.getNext<bool>();
        break;
    case 11:
        scanner.getNextHex<unsigned char>();
        break;
    case 12:
        scanner.getNextHex<unsigned int>();
        break;
    case 13:
        CheckInside(scanner, scanner.getNext());
        break;
    case 14: {
        String out;
        scanner.getNext(out);
        Check(out.size() <= scanner.getLineLength());
        break;
    }
    case 15:
        scanner.getNext<String>();
        break;
    case 16:
        scanner.getNext<QELTA::Angle<int>>();
        break;
    case 17:
        scanner.getNext<QELTA::Angle<double>>();
        break;
    case 18:
        scanner.getNext<QELTA::Time>();
        break;
    default:
        scanner.skipTo("a,", (kind & 0x80) != 0);
        break;
    }
}

// Reads the current line with the readers of `plan`, round after round, while the cursor moves.
void ReadLine(Scanner & scanner, StringView const & plan) {
    for (unsigned int round = 0; round < 64 && scanner.hasNext(); ++round) {
        unsigned int const before = scanner.linePosition();
        for (unsigned int i = 0; i < plan.size() && scanner.hasNext(); ++i) {
            ReadField(scanner, static_cast<unsigned char>(plan[i]));
            Check(scanner.linePosition() <= scanner.getLineLength());
        }
        if (scanner.linePosition() == before) {
            return;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size < 4 || size > 1 << 16) {
        return 0;
    }
    char const delimiter = static_cast<char>(data[0]);
    char const quote = static_cast<char>(data[1]);
    unsigned char const switches = data[2];
    unsigned int const plan_size = 1 + data[3] % 8;
    if (size < 4 + plan_size) {
        return 0;
    }
    StringView const plan(reinterpret_cast<char const *>(data + 4), plan_size);
    StringView const text(reinterpret_cast<char const *>(data + 4 + plan_size),
                          static_cast<unsigned int>(size - 4 - plan_size));

    BufferedScanner scanner(text, delimiter);
    scanner.setQuoteCharacter(quote);
    scanner.setHasDelimiter((switches & 1) == 0);
    scanner.setIgnoreEmptyLines((switches & 2) != 0);
    scanner.setIgnoreWhiteSpace((switches & 4) != 0);
    unsigned long long last_line = 0;
    for (unsigned int line = 0; line <= text.size() + 1 && scanner.nextLine(); ++line) {
        Check(scanner.getCurrentLineNumber() > last_line);
        last_line = scanner.getCurrentLineNumber();
        ReadLine(scanner, plan);
    }
    Check(!scanner.nextLine());
    Check(scanner.lineStarts().size() >= 2 && scanner.lineStarts()[0] == 0);

    // A seek to a chosen byte, then the readers on the line found there.
    unsigned long long const position = (static_cast<unsigned long long>(switches) * text.size()) / 255;
    scanner.setFilePosition(position, (switches & 8) != 0);
    char const * const raw = scanner.getByteArray();
    Check(raw >= scanner.buffer().data() && raw <= scanner.buffer().data() + scanner.buffer().size());
    ReadLine(scanner, plan);
    for (unsigned int line = 0; line <= text.size() + 1 && scanner.nextLine(); ++line) {
        ReadLine(scanner, plan);
    }

    // The whole text as the one line of a Scanner.
    Scanner whole(text, delimiter);
    whole.setQuoteCharacter(quote);
    whole.setHasDelimiter((switches & 1) == 0);
    whole.setIgnoreWhiteSpace((switches & 4) != 0);
    Check(!whole.nextLine());
    ReadLine(whole, plan);
    return 0;
}
