// Sample: the plug-in module built beside qelta, which `qelta modules` and the demo tour load. It
// describes itself at load, says what it needs, and speaks in the stages it exports; the others
// it leaves out, as a module may.
#include "Base/Host/Module.h"
#include "Base/Host/ModuleResourceManager.h"
#include "Base/Language/TranslatedString.h"

#include <cstdio>

#define SAMPLE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

void Say(char const * text) {
    std::printf("    [Sample] %s\n", text);
}

} // namespace

SAMPLE_EXPORT void SampleInitializeForQELTA(QELTA::Module * module) {
    module->version = "0.1";
    module->type = QELTA::Module::UTILITIES;
    module->description = QELTA::TranslatedString::DirectString("Shows the stages of a plug-in module");
    module->url = "https://example.org/qelta/sample";
}

SAMPLE_EXPORT void SampleDefineModuleResourcesForQELTA(QELTA::ModuleResourceManager * manager) {
    manager->addFileDependency("Resources/sample_units.ini");
    manager->addModuleDependency("Survey", QELTA::OSType::windows, QELTA::ConfigType::all, QELTA::PlatformType::x64);
}

SAMPLE_EXPORT void SampleSetupMetatypesForQELTA() {
    Say("registers its value types");
}

SAMPLE_EXPORT void SampleRegisterUserSettingsForQELTA() {
    Say("registers its user settings");
}

SAMPLE_EXPORT void SampleSetupFactoriesForQELTA() {
    Say("registers its factories");
}

SAMPLE_EXPORT void SampleSetupUIForQELTA(QELTA::QTModelManager * model, QELTA::QTWindowManager * window) {
    Say(model == nullptr && window == nullptr ? "has no user interface to build here" : "builds its user interface");
}

SAMPLE_EXPORT void SampleOnQELTAExit() {
    Say("says goodbye");
}
