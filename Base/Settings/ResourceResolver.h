// ResourceResolver: the chain of objects that fetch or unpack a named data resource that isn't
// on disk yet, so that the file layer can ask for one without knowing where it comes from.
//
// The chain holds the resolvers in order of addition and owns none of them: a resolver stays
// alive for as long as it is in the chain. It has no lock; resolvers are added at start-up, on
// the thread that runs it, before any lookup. Whether a resolver answers through its callback on
// the caller's thread, and what its flag and the callback's arguments mean, is the resolver's
// matter: the chain only hands them on. Nothing in the chain raises; a resolver's exceptions
// reach the caller.
#pragma once

#include "Base/Export.h"
#include "Base/Settings/SoftwareService.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/StringView.h"

#include <functional>

namespace QELTA {

class QELTA_BASE_EXPORT ResourceResolver : public SoftwareServiceManager {
  public:
    // Success, and a path or a message.
    using Callback = std::function<void(bool, StringView const &)>;

    ResourceResolver() = default;
    ~ResourceResolver() override;

    // True when this resolver took the resource on; the chain then asks no further resolver.
    virtual bool resolveResource(StringView const & name, Callback const & callback, bool flag) = 0;
    // The same for a resource of the toolkit itself.
    virtual bool resolveQELTAResource(StringView const & name, Callback const & callback, bool flag) = 0;
    virtual bool unzipResource(StringView const & name, Callback const & callback) = 0;

    // Appends to the chain; not owned.
    static void AddResolver(ResourceResolver * resolver);
    // The chain, in order of addition.
    static Buffer<ResourceResolver *> const & Resolvers();

    // Each resolver in order until one says true; false when none does, or the chain is empty.
    static bool ResolveResource(StringView const & name, Callback const & callback, bool flag);
    static bool ResolveQELTAResource(StringView const & name, Callback const & callback, bool flag);
    // ResolveResource and ResolveQELTAResource with the flag set.
    static bool CheckAndUnzipResource(StringView const & name, Callback const & callback);
    static bool CheckAndUnzipQELTAResource(StringView const & name, Callback const & callback);
    static bool UnzipResource(StringView const & name, Callback const & callback);

    // Empties the chain.
    static void ResetForTesting();
};

} // namespace QELTA
