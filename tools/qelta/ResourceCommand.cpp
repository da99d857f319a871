// qelta resource: an observable value telling its listeners of each change, and of nothing else.
#include "tools/qelta/Command.h"

#include "Base/Settings/ResourceBase.h"
#include "Base/Text/String.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace QELTA::Tool {
namespace {

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

int RunSet(std::vector<std::string> const & values) {
    std::string heard;
    Resource<String> resource;
    Attach(resource, heard, "first");
    Attach(resource, heard, "second");
    for (std::string const & value : values) {
        SetAndReport(resource, heard, value.c_str());
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

void AddResourceCommand(CLI::App & qelta) {
    CLI::App & resource =
        AddCommand(qelta, "resource", "an observable value and the listeners told of its changes", "");
    auto const values = std::make_shared<std::vector<std::string>>();
    AddCommand(resource, "set", "sets a text resource with two listeners to each VALUE in turn",
               "Makes a text resource with two listeners, 'first' and 'second', and sets it to each VALUE\n"
               "in turn. Each line names the listeners that ran, in the order they were attached; a VALUE\n"
               "equal to the current one (the text starts empty) changes nothing and notifies nobody.",
               [values] { return RunSet(*values); })
        .add_option("VALUE", *values, "the values, in order")
        ->required();
}

} // namespace QELTA::Tool
