// The log that the test modules write each call into, shared by every copy of every module and
// read by the tests.
#pragma once

#define QELTA_TEST_EXPORT extern "C" __attribute__((visibility("default")))

// Appends "module:stage\n".
QELTA_TEST_EXPORT void ModuleTestLogAppend(char const * module, char const * stage);
QELTA_TEST_EXPORT char const * ModuleTestLogText();
QELTA_TEST_EXPORT void ModuleTestLogClear();
// The managers the last "SetupUIForQELTA" was given.
QELTA_TEST_EXPORT void ModuleTestLogSetManagers(void const * model, void const * window);
QELTA_TEST_EXPORT void const * ModuleTestLogModelManager();
QELTA_TEST_EXPORT void const * ModuleTestLogWindowManager();
