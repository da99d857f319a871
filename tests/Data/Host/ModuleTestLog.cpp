// The shared log of the test modules.
#include "tests/Data/Host/ModuleTestLog.h"

#include <string>

namespace {

struct State {
    std::string text;
    void const * model = nullptr;
    void const * window = nullptr;
};

State & TheState() {
    static State s_state;
    return s_state;
}

} // namespace

void ModuleTestLogAppend(char const * module, char const * stage) {
    TheState().text.append(module).append(":").append(stage).append("\n");
}

char const * ModuleTestLogText() {
    return TheState().text.c_str();
}

void ModuleTestLogClear() {
    TheState() = State();
}

void ModuleTestLogSetManagers(void const * model, void const * window) {
    TheState().model = model;
    TheState().window = window;
}

void const * ModuleTestLogModelManager() {
    return TheState().model;
}

void const * ModuleTestLogWindowManager() {
    return TheState().window;
}
