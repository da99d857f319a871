// qelta uuid: 16-byte identities, random, from a name, or derived from a base by MD5.
#include "tools/qelta/Command.h"

#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/UUID.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace QELTA::Tool {
namespace {

void PrintId(UUID const & id) {
    StringAllocatingView out;
    StringStream<UUID>::toString(id, out);
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fputc('\n', stdout);
}

template <class T>
T ReadAs(StringView const & text) {
    T value{};
    StringStream<T>::fromString(String(text), value);
    return value;
}

// Extends `id` by one typed value "TYPE:VALUE" (a value without a known type is text).
bool Append(UUID & id, std::string_view argument) {
    std::size_t const colon = argument.find(':');
    std::string_view const type = colon == std::string_view::npos ? std::string_view() : argument.substr(0, colon);
    StringView const value(argument.substr(colon == std::string_view::npos ? 0 : colon + 1));
    if (type == "int") {
        id = id.appendUUID(ReadAs<int>(value));
    } else if (type == "uint") {
        id = id.appendUUID(ReadAs<unsigned int>(value));
    } else if (type == "int64") {
        id = id.appendUUID(ReadAs<long long>(value));
    } else if (type == "uint64") {
        id = id.appendUUID(ReadAs<unsigned long long>(value));
    } else if (type == "float") {
        id = id.appendUUID(ReadAs<float>(value));
    } else if (type == "double") {
        id = id.appendUUID(ReadAs<double>(value));
    } else if (type == "bool") {
        id = id.appendBoolUUID(ReadAs<bool>(value));
    } else if (type == "uuid") {
        UUID const other = ReadAs<UUID>(value);
        if (!other.isValid()) {
            return false;
        }
        id = id.appendUUID(other);
    } else if (type == "text" || type.empty()) {
        id = id.appendUUID(type.empty() ? StringView(argument) : value);
    } else {
        return false;
    }
    return true;
}

struct UuidArguments {
    std::optional<std::string> from;
    std::vector<std::string> append;
};

int RunUuid(UuidArguments const & arguments) {
    UUID id = arguments.from ? UUID::CreateUUID(StringView(*arguments.from)) : UUID::CreateUUID();
    for (std::string const & value : arguments.append) {
        Append(id, value);
    }
    PrintId(id);
    return exit_ok;
}

} // namespace

void DemoUuid() {
    std::puts("\n== Identities");
    UUID const base = UUID::CreateUUID(StringView("survey"));
    std::printf("The id of the name \"survey\":           ");
    PrintId(base);
    std::printf("Derived for point 7 (always the same):  ");
    PrintId(base.appendUUID(7));
    std::printf("and 7 as a 64-bit number differs:       ");
    PrintId(base.appendUUID(7LL));
}

void AddUuidCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<UuidArguments>();
    CLI::App & uuid =
        AddCommand(qelta, "uuid", "16-byte identities: random, from a text, or derived by MD5 chains",
                   "Prints a new random id (version 4), or with --from TEXT the cheap id of a name (its bytes\n"
                   "XORed into 16). --append extends the id by each VALUE in turn through MD5, so the same chain\n"
                   "always gives the same id. A VALUE is TYPE:VALUE, TYPE one of int, uint, int64, uint64, float,\n"
                   "double, bool, uuid, text; without a TYPE it is text. int and uint give the same bytes.",
                   [arguments] { return RunUuid(*arguments); });
    uuid.add_option("--from", arguments->from, "starts from the id of TEXT instead of a random one")->type_name("TEXT");
    uuid.add_option("--append", arguments->append, "extends the id by each VALUE in turn")
        ->type_name("VALUE")
        ->check(CLI::Validator(
            [](std::string const & value) {
                UUID scratch;
                return Append(scratch, value) ? std::string()
                                              : "is not TYPE:VALUE with TYPE int, uint, int64, uint64, float, double, "
                                                "bool, uuid or text (a uuid value must be a valid id)";
            },
            ""));
}

} // namespace QELTA::Tool
