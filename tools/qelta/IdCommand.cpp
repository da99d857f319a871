// qelta id: 16-byte identities, random, from a name, or derived from a base by MD5.
#include "tools/qelta/Command.h"

#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/UUID.h"

#include <cstdio>
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr std::string_view command_name = "id";

void PrintId(UUID const & id) {
    StringAllocatingView out;
    StringStream<UUID>::toString(id, out);
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fputc('\n', stdout);
}

int RunId(Arguments arguments) {
    if (arguments.empty()) {
        return UsageError(command_name, "needs a verb");
    }
    std::string_view const verb(arguments[0]);
    if (verb == "new" && arguments.size() == 1) {
        PrintId(UUID::CreateUUID());
        return exit_ok;
    }
    if (verb == "name" && arguments.size() == 2) {
        PrintId(UUID::CreateUUID(StringView(arguments[1])));
        return exit_ok;
    }
    if (verb == "derive" && arguments.size() >= 2) {
        UUID id;
        StringStream<UUID>::fromString(String(arguments[1]), id);
        if (!id.isValid()) {
            return UsageError(command_name, "BASE is not a 36-character id");
        }
        for (std::size_t i = 2; i < arguments.size(); ++i) {
            id = id.appendUUID(StringView(arguments[i]));
        }
        PrintId(id);
        return exit_ok;
    }
    return UsageError(command_name, "unknown verb or wrong number of arguments");
}

} // namespace

void DemoId() {
    std::puts("\n== Identity and number text");
    UUID const base = UUID::CreateUUID(StringView("survey"));
    std::printf("The id of the name \"survey\":         ");
    PrintId(base);
    std::printf("Derived for point 7 (always the same): ");
    PrintId(base.appendUUID(7));
    struct Example {
        char const * text;
        unsigned int decimals;
    };
    Example const examples[] = {{"1234567.891", 2}, {"1.005", 2}, {"9.99", 1}, {"-0.001", 2}};
    std::puts("Numbers round on their decimal digits, so no binary error shows:");
    for (Example const & example : examples) {
        String shown(example.text);
        shown.formatNumberString(true, example.decimals);
        std::printf("  \"%s\" with %u decimals -> \"%s\"\n", example.text, example.decimals, shown.c_str());
    }
}

Command const id_command = {
    "id",
    "16-byte identities: random, from a name, or derived by MD5",
    "usage: qelta id <verb> [arguments]\n\n"
    "verbs:\n"
    "  new                     a new random id (version 4)\n"
    "  name TEXT               the cheap id of a name (bytes XORed into 16)\n"
    "  derive BASE TEXT...     BASE extended by each TEXT in turn through MD5; the same\n"
    "                          chain always gives the same id\n",
    RunId,
};

} // namespace QELTA::Tool
