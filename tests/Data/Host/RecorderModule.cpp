// A test module that exports every stage and logs each call.
#include "Base/Host/Module.h"
#include "Base/Host/ModuleResourceManager.h"
#include "tests/Data/Host/ModuleTestLog.h"

#define RECORDER_STAGE(stage)                                                                                          \
    QELTA_TEST_EXPORT void Recorder##stage() {                                                                         \
        ModuleTestLogAppend("Recorder", #stage);                                                                       \
    }

QELTA_TEST_EXPORT void RecorderInitializeForQELTA(QELTA::Module * module) {
    ModuleTestLogAppend("Recorder", "InitializeForQELTA");
    module->version = "1.2";
    module->type = QELTA::Module::UTILITIES;
}

QELTA_TEST_EXPORT void RecorderDefineModuleResourcesForQELTA(QELTA::ModuleResourceManager * manager) {
    ModuleTestLogAppend("Recorder", "DefineModuleResourcesForQELTA");
    manager->addFileDependency("recorder.dat");
    manager->addModuleDependency("Partial", QELTA::OSType::windows);
}

RECORDER_STAGE(SetupMetatypesForQELTA)
RECORDER_STAGE(RegisterUserSettingsForQELTA)
RECORDER_STAGE(SetupFileStructureForQELTA)
RECORDER_STAGE(SetupFactoriesForQELTA)
RECORDER_STAGE(SetUpdateCheckerForQELTA)
RECORDER_STAGE(SetupManualsForQELTA)
RECORDER_STAGE(SetupUIThemesForQELTA)
RECORDER_STAGE(FactoryResetQELTA)
RECORDER_STAGE(OnQELTAExit)

QELTA_TEST_EXPORT void RecorderSetupUIForQELTA(QELTA::QTModelManager * model, QELTA::QTWindowManager * window) {
    ModuleTestLogAppend("Recorder", "SetupUIForQELTA");
    ModuleTestLogSetManagers(model, window);
}
