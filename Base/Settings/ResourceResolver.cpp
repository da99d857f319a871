// The chain of resource resolvers.
#include "Base/Settings/ResourceResolver.h"

namespace QELTA {
namespace {

// Allocated on first use and never freed: resolvers may be added by static objects.
Buffer<ResourceResolver *> & Chain() {
    static auto * s_resolvers = new Buffer<ResourceResolver *>();
    return *s_resolvers;
}

template <class Ask>
bool AskEach(Ask const & ask) {
    for (ResourceResolver * resolver : Chain()) {
        if (ask(*resolver)) {
            return true;
        }
    }
    return false;
}

} // namespace

ResourceResolver::~ResourceResolver() = default;

void ResourceResolver::AddResolver(ResourceResolver * resolver) {
    Chain().add(resolver);
}

Buffer<ResourceResolver *> const & ResourceResolver::Resolvers() {
    return Chain();
}

bool ResourceResolver::ResolveResource(StringView const & name, Callback const & callback, bool flag) {
    return AskEach([&](ResourceResolver & resolver) { return resolver.resolveResource(name, callback, flag); });
}

bool ResourceResolver::ResolveQELTAResource(StringView const & name, Callback const & callback, bool flag) {
    return AskEach([&](ResourceResolver & resolver) { return resolver.resolveQELTAResource(name, callback, flag); });
}

bool ResourceResolver::CheckAndUnzipResource(StringView const & name, Callback const & callback) {
    return ResolveResource(name, callback, true);
}

bool ResourceResolver::CheckAndUnzipQELTAResource(StringView const & name, Callback const & callback) {
    return ResolveQELTAResource(name, callback, true);
}

bool ResourceResolver::UnzipResource(StringView const & name, Callback const & callback) {
    return AskEach([&](ResourceResolver & resolver) { return resolver.unzipResource(name, callback); });
}

void ResourceResolver::ResetForTesting() {
    Chain().clear();
}

} // namespace QELTA
