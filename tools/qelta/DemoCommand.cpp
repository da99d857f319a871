// qelta demo: a short tour of what the library does, one step per capability.
#include "tools/qelta/Command.h"

#include "Base/Files/FileResource.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Text/UUID.h"

#include <cstdio>

namespace QELTA::Tool {
namespace {

File & TheDemoFolder() {
    static File s_folder;
    return s_folder;
}

int RunDemo() {
    std::puts("QELTA Base - demo tour\n");
    DemoText();
    DemoUuid();
    DemoNumber();
    DemoPassword();
    DemoTime();
    DemoLog();
    DemoQueue();
    DemoLogFile();
    DemoAngle();
    DemoConvert();
    DemoUnitManager();
    DemoCalc();
    DemoFormulas();
    DemoResource();
    DemoFile();
    DemoFolders();
    DemoCsv();
    DemoIni();
    DemoJson();
    DemoValidate();
    DemoTranslate();
    DemoBinary();
    DemoArchives();
    DemoModules();
    DemoColour();
    DemoKey();
    DemoFont();
    DemoFit();
    DemoHost();
    std::puts("\nEnd of the tour.");
    if (!TheDemoFolder().isEmpty() && TheDemoFolder().exists()) {
        TheDemoFolder().deleteFile(LogPtr());
    }
    return exit_ok;
}

} // namespace

File DemoFolder() {
    File & folder = TheDemoFolder();
    if (folder.isEmpty()) {
        StringAllocatingView id;
        StringStream<UUID>::toString(UUID::CreateUUID(), id);
        folder = FileResource::OSTempFolder();
        folder.appendPath("qelta-demo-");
        folder.appendPath(id.view());
        folder.append('\\');
        folder.create(false);
    }
    return folder;
}

void AddDemoCommand(CLI::App & qelta) {
    AddCommand(qelta, "demo", "a tour of the library's capabilities",
               "Runs a short tour that shows each capability of the library at work:\n"
               "  text     growable buffers, hash maps, UTF-8 strings and typed text conversion\n"
               "  uuid     16-byte identities, random or derived by MD5 chains\n"
               "  number   numbers shown with decimals, digits and grouping, rounded on their digits\n"
               "  password Base64 in both alphabets, and passwords kept scrambled and rated\n"
               "  time     the clock, dates written and read in one format language, spans\n"
               "  log      log records as tab-separated lines, colour blocks, progress and cancel\n"
               "  queue    a background thread queue with locks, messages and a progress guard\n"
               "  log file work on a queue logged to the console and a text log, read back\n"
               "  angle    angles in index units, the sine table and orientations as quaternions\n"
               "  convert  lengths in feet and inches, angles in degrees, minutes and seconds, bearings\n"
               "  units    the length switched from metric to imperial, heard by a listener and kept\n"
               "  calc     arithmetic walked from left to right, and formulas with inputs and units\n"
               "  formulas a tab-separated table of formulas loaded and evaluated\n"
               "  resource an observable value whose listeners hear each change, once and in order\n"
               "  file     paths kept normalised, their parts, and sizes in whole units\n"
               "  folders  the system's folders and the folder variables of stored paths\n"
               "  csv      delimited text cut into typed fields, with quotes and empty values\n"
               "  ini      a settings file saved, changed and read back\n"
               "  json     a YAML settings file read and written back as JSON, a located fault, and\n"
               "           an option group as JSON\n"
               "  validate names, paths and typed values checked by the library's expressions\n"
               "  translate a text and a number shown in a second language\n"
               "  binary   a table packed into compressed blocks, a shared string table, the ratio\n"
               "  modules  the sample plug-in module beside qelta, loaded and driven through its stages\n"
               "  colour   a colour in every model with its name, a palette and seeded random colours\n"
               "  key      keys mapped to named actions, changed, and their stored form\n"
               "  font     a font resolved to its file, a fallback by character, fonts of colour codes\n"
               "  fit      a turn and a move fitted to measured points, and a fit that must fail",
               RunDemo);
}

} // namespace QELTA::Tool
