// Module: loading, initialising and calling the stages of one plug-in library.
#include "Base/Host/Module.h"

#include "Base/Host/Internal/ModuleGuard.h"
#include "Base/Host/ModuleManager.h"
#include "Base/Host/Platform/ModulePlatform.h"
#include "Base/Language/Internal/Translatable.h"

#include <cstring>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char const * type_labels[] = {"Applications", "Utilities", "Libraries", "General"};
constexpr unsigned int type_count = sizeof(type_labels) / sizeof(type_labels[0]);

// The stage's address as the function it is; the loader hands out object pointers.
template <class Function>
Function AsFunction(void * address) noexcept {
    static_assert(sizeof(Function) == sizeof(address), "a function pointer has the size of an address");
    Function function;
    std::memcpy(&function, &address, sizeof function);
    return function;
}

} // namespace

Module::Module() = default;

Module::Module(StringView const & module_name)
    : name(module_name), display_name(Translatable(module_name)), active(ModuleManager::IsModuleActive(module_name)) {}

Module::Module(StringView const & module_name, File const & library_file) : Module(module_name) {
    file = library_file;
    handle = ModuleManager::LoadDynamicLibrary(library_file.view());
    initialize();
}

// The handle is left alone: libraries stay loaded until the process ends.
Module::~Module() = default;

void * Module::stageAddress(StringView const & stage) const {
    String key(stage);
    if (auto const found = functions.find(key); found != functions.end()) {
        return found->value();
    }
    if (handle == nullptr) {
        return nullptr;
    }
    String symbol(name);
    symbol.append(stage);
    void * const address = ModulePlatform::FindSymbol(handle, symbol.view());
    functions.insert(std::move(key), address);
    return address;
}

void Module::initialize() {
    if (handle == nullptr) {
        return;
    }
    if (void * const address = stageAddress(StringView(ModuleStage::initialize))) {
        AsFunction<void (*)(Module *)>(address)(this);
    }
}

void Module::callModuleFunction(StringView const & stage) const {
    if (!active) {
        return;
    }
    void * const address = stageAddress(stage);
    if (address == nullptr) {
        return;
    }
    Internal::RunModuleGuarded([address] { AsFunction<void (*)()>(address)(); });
}

void Module::callModuleFunction(StringView const & stage, QTModelManager * model_manager,
                                QTWindowManager * window_manager) const {
    if (!active) {
        return;
    }
    if (void * const address = stageAddress(stage)) {
        AsFunction<void (*)(QTModelManager *, QTWindowManager *)>(address)(model_manager, window_manager);
    }
}

void Module::defineModuleResources(ModuleResourceManager * manager) const {
    if (void * const address = stageAddress(StringView(ModuleStage::define_module_resources))) {
        AsFunction<void (*)(ModuleResourceManager *)>(address)(manager);
    }
}

void StringStream<Module::ModuleType>::fromString(StringView const & text, Module::ModuleType & value) noexcept {
    unsigned long long const hash = text.hash();
    for (unsigned int index = 0; index < type_count; ++index) {
        if (hash == StringView(type_labels[index]).hash()) {
            value = static_cast<Module::ModuleType>(index);
            return;
        }
    }
}

void StringStream<Module::ModuleType>::toString(Module::ModuleType const & value, StringAllocatingView & out) {
    out.borrow(StringView(value < type_count ? type_labels[value] : ""));
}

void StringStream<Module::ModuleType>::toDisplayString(Module::ModuleType const & value, TranslatedString & out) {
    out = Translatable(StringView(value < type_count ? type_labels[value] : ""));
}

} // namespace QELTA
