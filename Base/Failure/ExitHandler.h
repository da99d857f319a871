// ExitHandler and ExitHandlerManager: tasks that are told to stop at shutdown and are waited for,
// up to a limit.
//
// The manager keeps shared handles on the registered handlers in one table behind a read/write
// lock, which is held only while the table is read or changed, never while a handler is called;
// a handler may so unregister itself from its own onExit. RunAll runs on the caller's thread;
// handlers may finish on other threads, which is why they are polled. An exception from a handler
// reaches the caller of RunAll. All functions are thread-safe.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Text/ConstPointer.h"
#include "Base/Text/UUID.h"

namespace QELTA {

// A task that can be told to stop and asked whether it has.
class QELTA_BASE_EXPORT ExitHandler {
  public:
    explicit ExitHandler(UUID const & id);
    ExitHandler(ExitHandler const &) = default;
    ExitHandler & operator=(ExitHandler const &) = default;
    virtual ~ExitHandler();

    // Begins shutting down; must not block for long.
    virtual void onExit() = 0;
    // Names the handler in the log.
    virtual TranslatedString name() const = 0;
    virtual bool isFinished() const = 0;

    UUID const & id() const noexcept { return id_; }

  private:
    UUID id_;
};

class QELTA_BASE_EXPORT ExitHandlerManager {
  public:
    ExitHandlerManager() = delete;

    // How long RunAll waits for handlers, and how long it sleeps between two polls.
    static constexpr unsigned long long time_limit_ms = 30000;
    static constexpr unsigned long long poll_ms = 250;
    // The levels of the names logged while waiting and of those given up on.
    static constexpr unsigned char waiting_level = 2;
    static constexpr unsigned char giving_up_level = 50;

    // Stores the handle under its handler's id, replacing one of that id; an empty handle does
    // nothing.
    static void Register(DynamicPointer<ExitHandler> const & handler);
    static void Unregister(UUID const & id);
    // Where RunAll reports; empty by default.
    static void SetLog(LogPtr log);
    // Called between polls instead of sleeping, for a program whose event loop must keep
    // turning during shutdown; null (the default) sleeps poll_ms.
    static void SetYieldFunction(void (*yield)());

    // Tells every registered handler to stop, in the table's order, then polls until all are
    // finished. While some are not, their names go to the log at waiting_level after each poll;
    // after time_limit_ms it logs "Giving up on exit handler: <name>" at giving_up_level for each
    // and returns. Unregisters nothing.
    static void RunAll();

    // Replaces the limit of RunAll; 0 restores time_limit_ms.
    static void SetTimeLimitForTesting(unsigned long long milliseconds) noexcept;
};

} // namespace QELTA
