// Resources and listeners: who is told of a change and in which order, the enabled flag, the two
// ways of copying, joint ownership at destruction, a throwing listener, and notifying threads.
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/String.h"
#include "tests/Support/Eventually.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

// Counts its calls; sets `*destroyed` when it dies; throws on the call numbered `throw_on`.
class Probe : public ResourceListener {
  public:
    explicit Probe(bool * destroyed = nullptr, int throw_on = 0) : destroyed_(destroyed), throw_on_(throw_on) {}
    ~Probe() override {
        if (destroyed_ != nullptr) {
            *destroyed_ = true;
        }
    }
    void onValueChanged() override {
        if (++calls == throw_on_) {
            throw std::runtime_error("listener failed");
        }
    }
    int calls = 0;

  private:
    bool * destroyed_;
    int throw_on_;
};

// Equal by `value` only, so that a set which assigns an equal value shows in `tag`.
struct Tagged {
    int value;
    int tag;
    bool operator==(Tagged const & other) const { return value == other.value; }
};

TEST(ResourceTest, OnlyAChangeByTheTypesEqualityNotifies) {
    Resource<String> text("abc");
    Probe probe;
    text.addListener(&probe, true);
    text.set(String("abc")); // other bytes in memory, equal text
    EXPECT_EQ(probe.calls, 0);
    text.set("abd");
    EXPECT_EQ(probe.calls, 1);
    EXPECT_EQ(text.value(), StringView("abd"));
    probe.disconnectListener();

    Resource<Tagged> tagged(Tagged{1, 1});
    tagged.set(Tagged{1, 2});
    EXPECT_EQ(tagged.value().tag, 1) << "an equal value must not be assigned";
}

TEST(ResourceTest, SelfSettingListenerIsNotReentered) {
    Resource<int> resource(0);
    std::vector<std::string> calls;
    auto const record = [&](char const * name) { calls.push_back(name + std::to_string(resource.value())); };
    resource.addListener(new BasicResourceListener([&] { record("A"); }), true);
    resource.addListener(new BasicResourceListener([&] {
                             record("B");
                             resource.set(resource.value() + 10);
                         }),
                         true);
    resource.addListener(new BasicResourceListener([&] { record("C"); }), true);

    resource.set(1);
    // B's own change reaches A and C first, then the outer notification goes on to C.
    EXPECT_EQ(calls, (std::vector<std::string>{"A1", "B1", "A11", "C11", "C11"}));
    calls.clear();
    resource.set(2);
    EXPECT_EQ(calls, (std::vector<std::string>{"A2", "B2", "A12", "C12", "C12"})) << "B must be enabled again";
}

TEST(ResourceTest, AttachingAndDisabling) {
    enum Form { ONE_ARGUMENT, DO_NOT_SKIP, SKIP };
    struct Row {
        Form form;
        bool enabled;
        int calls_on_attach;
    };
    for (Row const row : {Row{ONE_ARGUMENT, true, 1}, Row{DO_NOT_SKIP, true, 1}, Row{SKIP, true, 0},
                          Row{ONE_ARGUMENT, false, 0}, Row{DO_NOT_SKIP, false, 0}, Row{SKIP, false, 0}}) {
        SCOPED_TRACE(::testing::Message() << "form " << row.form << ", enabled " << row.enabled);
        Resource<int> resource(0);
        Probe probe;
        probe.disable(row.enabled);
        if (row.form == ONE_ARGUMENT) {
            EXPECT_EQ(resource.addListener(&probe), &probe);
        } else {
            resource.addListener(&probe, row.form == SKIP);
        }
        EXPECT_EQ(probe.calls, row.calls_on_attach);
        resource.set(1);
        resource.set(2);
        int const heard = row.calls_on_attach + (row.enabled ? 2 : 0);
        EXPECT_EQ(probe.calls, heard) << "attached, and a disabled listener stays disabled";
        probe.disable(true);
        EXPECT_EQ(probe.calls, heard) << "nothing is queued for later";
        resource.set(3);
        EXPECT_EQ(probe.calls, heard + 1);
        probe.disconnectListener();
    }
}

TEST(ResourceTest, CopyConstructorRegistersAndTheLastResourceDeletes) {
    bool destroyed = false;
    Probe * probe = new Probe(&destroyed);
    auto * source = new Resource<int>(0);
    source->addListener(probe, true);
    source->addListener(probe, true); // listed twice: told twice, deleted once
    {
        Resource<int> copy(*source);
        copy.set(5);
        EXPECT_EQ(probe->calls, 2);
        EXPECT_EQ(probe->getInfoParentSize(), 4u);
    }
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(probe->getInfoParentSize(), 2u);
    delete source;
    EXPECT_TRUE(destroyed);
}

TEST(ResourceTest, AssignmentCopiesTheListOnly) {
    Resource<int> source(0);
    Probe * shared = new Probe;
    source.addListener(shared, true);
    Resource<int> target(0);
    Probe replaced;
    target.addListener(&replaced, true);

    target = source;
    target.set(5);
    EXPECT_EQ(shared->calls, 1);
    EXPECT_EQ(replaced.calls, 0);
    EXPECT_EQ(shared->getInfoParentSize(), 1u) << "the new listener is not told";
    EXPECT_EQ(replaced.getInfoParentSize(), 1u) << "the old listener is not told";
    replaced.disconnectListener();
}

TEST(ResourceTest, RemoveTakesTheLastEntryAndAlwaysTellsTheListener) {
    Resource<int> resource(0);
    std::string order;
    BasicResourceListener a([&] { order += 'a'; });
    BasicResourceListener b([&] { order += 'b'; });
    resource.addListener(&a, true);
    resource.addListener(&b, true);
    resource.addListener(&a, true);
    resource.removeListener(&a);
    resource.set(1);
    EXPECT_EQ(order, "ab");
    EXPECT_EQ(a.getInfoParentSize(), 1u);

    BasicResourceListener stranger(a); // lists the resource, which does not list it
    resource.removeListener(&stranger);
    EXPECT_EQ(stranger.getInfoParentSize(), 0u);
    order.clear();
    resource.set(2);
    EXPECT_EQ(order, "ab");
    a.disconnectListener();
    b.disconnectListener();
}

TEST(ResourceTest, ThrowingListenerStaysSilentUntilEnabled) {
    Resource<int> resource(0);
    Probe * failing = new Probe(nullptr, 1);
    Probe * after = new Probe;
    resource.addListener(failing, true);
    resource.addListener(after, true);
    EXPECT_THROW(resource.set(1), std::runtime_error);
    EXPECT_EQ(after->calls, 0);

    // The read lock was released: another thread can attach.
    std::atomic<bool> attached = false;
    std::thread other([&] {
        resource.addListener(new Probe, true);
        attached = true;
    });
    bool const in_time = Testing::Eventually([&] { return attached.load(); });
    if (!in_time) {
        other.detach();
        FAIL() << "the read lock was left held";
    }
    other.join();

    resource.set(2);
    EXPECT_EQ(failing->calls, 1);
    EXPECT_EQ(after->calls, 1);
    failing->disable(true);
    resource.set(3);
    EXPECT_EQ(failing->calls, 2);

    BasicResourceListener empty;
    EXPECT_THROW(empty.changeValue(), std::bad_function_call);
}

// A value whose reads and writes are atomic, so that threads may set it together.
struct SharedInt {
    std::atomic<int> value;
    SharedInt(int start = 0) : value(start) {}
    SharedInt(SharedInt const & other) : value(other.value.load()) {}
    SharedInt & operator=(SharedInt const & other) {
        value = other.value.load();
        return *this;
    }
    bool operator==(SharedInt const & other) const { return value.load() == other.value.load(); }
};

TEST(ResourceTest, ThreadsSettingTogetherNeverRunOneListenerTwice) {
    Resource<SharedInt> resource(SharedInt(-1));
    std::atomic<bool> running = false;
    std::atomic<bool> overlapped = false;
    std::atomic<int> calls = 0;
    BasicResourceListener listener([&] {
        overlapped = overlapped || running.exchange(true);
        std::this_thread::yield(); // widens the window in which a second entry would show
        ++calls;
        running = false;
    });
    resource.addListener(&listener, true);
    constexpr int sets = 2000;
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t) {
        writers.emplace_back([&, t] {
            for (int i = 0; i < sets; ++i) {
                resource.set(SharedInt(t * sets + i));
            }
        });
    }
    for (std::thread & writer : writers) {
        writer.join();
    }
    EXPECT_FALSE(overlapped.load());
    int const before = calls.load();
    EXPECT_GT(before, 0);
    resource.set(SharedInt(-2));
    EXPECT_EQ(calls.load(), before + 1) << "the listener is enabled again";
    listener.disconnectListener();
}

} // namespace
} // namespace QELTA
