// qelta resource: an observable value telling its listeners of each change, and of nothing else.
#include "tools/qelta/Command.h"

#include "Base/Settings/ResourceBase.h"
#include "Base/Text/String.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr std::string_view command_name = "resource";

// Attaches a listener that adds its name to `heard`; the resource owns it from then on.
void Attach(Resource<String> const & resource, std::string & heard, char const * name) {
    resource.addListener(new BasicResourceListener([&heard, name] {
                             heard += heard.empty() ? "" : ", ";
                             heard += name;
                         }),
                         true);
}

// Sets `value` and prints who heard of it.
void SetAndReport(Resource<String> & resource, std::string & heard, char const * value) {
    heard.clear();
    resource.set(value);
    std::printf("set \"%s\": %s\n", value,
                heard.empty() ? "equal value, notified nobody" : ("notified " + heard).c_str());
}

int RunResource(Arguments arguments) {
    if (arguments.empty() || std::string_view(arguments[0]) != "set") {
        return UsageError(command_name, "needs the verb 'set'");
    }
    if (arguments.size() < 2) {
        return UsageError(command_name, "'set' needs at least one VALUE");
    }
    std::string heard;
    Resource<String> resource;
    Attach(resource, heard, "first");
    Attach(resource, heard, "second");
    for (char const * value : arguments.subspan(1)) {
        SetAndReport(resource, heard, value);
    }
    return exit_ok;
}

} // namespace

void DemoResource() {
    std::puts("\n== Resources");
    std::string heard;
    Resource<String> unit("m");
    Attach(unit, heard, "display");
    // A listener that corrects its own resource: it is not called again for its own change,
    // while the others hear the corrected value first and then the outer change.
    unit.addListener(new BasicResourceListener([&] {
                         heard += ", normalise";
                         if (unit.value() == StringView("metre")) {
                             unit.set("m");
                         }
                     }),
                     true);
    Attach(unit, heard, "log");
    std::puts("Listeners run in the order attached. 'normalise' rewrites \"metre\" as \"m\": its own change\n"
              "reaches the others at once, and it is not called again for it.");
    SetAndReport(unit, heard, "ft");
    SetAndReport(unit, heard, "metre");
    std::printf("value now \"%s\"\n", unit.value().c_str());
    SetAndReport(unit, heard, "m");
}

Command const resource_command = {
    "resource",
    "an observable value and the listeners told of its changes",
    "usage: qelta resource set VALUE...\n\n"
    "Makes a text resource with two listeners, 'first' and 'second', and sets it to each VALUE\n"
    "in turn. Each line names the listeners that ran, in the order they were attached; a VALUE\n"
    "equal to the current one (the text starts empty) changes nothing and notifies nobody.\n",
    RunResource,
};

} // namespace QELTA::Tool
