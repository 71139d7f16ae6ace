#include <comdef.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <tuple>

#include "core/CimPath.h"
#include "requests/RequestTest.h"
#include "requests/SehHost.h"
#include "support/ImportHook.h"
#include "support/RunTimeName.h"
#include "support/Thrown.h"

// Exceptions that leave a request of the built DLL and reach two kinds of host: one that catches them by type, and one
// that guards its calls with __try/__except. Both hosts continue, and nothing leaks.
namespace {

constexpr unsigned long CPP_EXCEPTION = 0x20474343;
constexpr int TIMES = 1000;

// An exception that leaves a request.
struct Kind
{
    const char* name;
    void (*raise)();
    // The path of a deletion. A deletion turns a failure of the broker into a status if it belongs to the product's
    // family of exceptions, so that only an invalid path lets such an exception leave it.
    const char* path;

    friend void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }
};

const Kind KINDS[] = {
    {"ownFamily", [] { throw utils::Exception(std::string("a text that needs a block of memory, as it is long")); },
     ""},
    {"badAlloc", [] { throw std::bad_alloc(); }, RequestWorld::JOB_PATH},
    {"comError", [] { throw _com_error(E_OUTOFMEMORY); }, RequestWorld::JOB_PATH},
    {"syntaxError", [] { core::CimPath("Zerix_ConcreteJob=\"x\""); }, "Zerix_ConcreteJob=\"x\""},
};

// Counts the memory blocks that the C++ run time has allocated and not freed since construction. Exceptions are such
// blocks.
std::atomic<int> liveBlocks{0};

void* countedMalloc(std::size_t size)
{
    void* const block = std::malloc(size);
    liveBlocks += block != nullptr ? 1 : 0;
    return block;
}

void countedFree(void* block)
{
    liveBlocks -= block != nullptr ? 1 : 0;
    std::free(block);
}

class RunTimeMemory
{
public:
    static int live() { return liveBlocks; }

private:
    support::ImportHook m_malloc{"malloc", &countedMalloc, GetModuleHandleA(support::RUN_TIME)};
    support::ImportHook m_free{"free", &countedFree, GetModuleHandleA(support::RUN_TIME)};
};

// An exception that lets the test see when it is destroyed.
class Watched : public std::exception
{
public:
    Watched() { ++live; }
    Watched(const Watched& other) : std::exception(other) { ++live; }
    Watched& operator=(const Watched&) = delete;
    ~Watched() override { --live; }
    const char* what() const noexcept override { return "watched"; }

    static inline std::atomic<int> live{0};
};

struct AtEnd
{
    ~AtEnd() { action(); }
    std::function<void()> action;
};

// Declared outside everything else of a test: at its end the provider is unloaded and every exception is destroyed.
struct NothingIsLeft
{
    NothingIsLeft() = default;
    NothingIsLeft(const NothingIsLeft&) = delete;
    NothingIsLeft& operator=(const NothingIsLeft&) = delete;
    ~NothingIsLeft()
    {
        EXPECT_EQ(GetModuleHandleA("ZerixDRAVEv2Provider.dll"), nullptr);
        EXPECT_EQ(Watched::live, 0);
        EXPECT_EQ(std::uncaught_exceptions(), 0);
    }
};

class EscapeTest : private NothingIsLeft, public RequestTest
{
public:
    // Sends a request of an EscapeTest. Has no destructors to run, like the functions of a host in C.
    struct Request
    {
        const char* name;
        long (*send)(void* test);

        friend void PrintTo(const Request& request, std::ostream* out) { *out << request.name; }
    };

    static const std::array<Request, 3> REQUESTS;

protected:
    void SetUp() override
    {
        start();
        calls.take();
        *object.path.address() = samples::bstr(PORT_PATH);
    }

    // From this call on, this request throws an exception of this kind.
    void arrange(const Request& asked, const Kind& kind)
    {
        m_send = asked.send;
        *m_path.out() = utils::toBstr(kind.path);
        raiseInRequests(kind.raise);
    }

    void arrangeWatched()
    {
        m_send = REQUESTS[0].send;
        raiseInRequests([] { throw Watched(); });
    }

    // The result for a __try host: the code of the exception.
    unsigned long guarded()
    {
        long answer = 0;
        const unsigned long code = callGuarded(m_send, this, &answer);
        expectOnlyIdentityGivenBack();
        return code;
    }

    // The result for a C++ host: the exception that it catches.
    std::string caught()
    {
        std::string type = "nothing";
        try {
            send();
        } catch (const utils::ESyntaxError&) {
            type = "syntaxError";
        } catch (const utils::Exception&) {
            type = "ownFamily";
        } catch (const std::bad_alloc&) {
            type = "badAlloc";
        } catch (const _com_error&) {
            type = "comError";
        } catch (...) {
            type = "something else";
        }
        EXPECT_EQ(std::uncaught_exceptions(), 0);
        expectOnlyIdentityGivenBack();
        return type;
    }

    long send() { return m_send(this); }

    void expectOnlyIdentityGivenBack()
    {
        EXPECT_FALSE(support::threadHasToken());
        const support::Lines made = calls.take();
        ASSERT_FALSE(made.empty());
        EXPECT_EQ(made.back(), "call.RevertToSelf()");
        for (const std::string& entry : made) {
            ASSERT_FALSE(entry.starts_with("sink.")) << entry;
        }
        log.clear();
    }

    void ordinaryRequest()
    {
        broker.onGetInstances = nullptr;
        EXPECT_EQ(enumerate(), 0);
        EXPECT_EQ(calls.take().back(), "call.RevertToSelf()");
        log.clear();
    }

    // A client's thread, which makes requests and ends.
    template <class Work>
    void onNewThread(const Work& work)
    {
        std::thread([&] {
            const ComApartment ofThread;
            const support::CallContext callOfThread(calls);
            work();
        }).join();
    }

private:
    void raiseInRequests(void (*raise)())
    {
        broker.onGetInstances = [raise] {
            raise();
            return utils::SafeList<core::CimInstance*>();
        };
        object.onGet = raise;
        broker.onFind = [raise]() -> core::CimInstance* { return raise(), nullptr; };
    }

    long (*m_send)(void* test) = nullptr;
    utils::ScopedBstr m_className{"Zerix_EthernetPort"};
    utils::ScopedBstr m_path;
};

const std::array<EscapeTest::Request, 3> EscapeTest::REQUESTS{
    {{"enumerate",
      [](void* test) -> long {
          auto& r = *static_cast<EscapeTest*>(test);
          return r.provider->CreateInstanceEnumAsync(r.m_className.get(), 0, &r.context, &r.sink);
      }},
     {"put", [](void* test) -> long { return static_cast<EscapeTest*>(test)->put(); }},
     {"remove", [](void* test) -> long {
          auto& r = *static_cast<EscapeTest*>(test);
          return r.provider->DeleteInstanceAsync(r.m_path.get(), 0, &r.context, &r.sink);
      }}}};

class EveryEscapeTest : public EscapeTest, public testing::WithParamInterface<std::tuple<EscapeTest::Request, Kind>>
{
protected:
    void arrangeNext() { arrange(std::get<0>(GetParam()), std::get<1>(GetParam())); }

    // The host gets the same from each of many requests. None of them leaves memory.
    template <class Host, class Expected>
    void expectNothingLeft(const Host& host, const Expected& expected)
    {
        const RunTimeMemory memory;
        int before = 0;
        arrangeNext();
        for (int i = 0; i <= TIMES; ++i) {
            ASSERT_EQ(host(), expected) << i;
            if (i == 0 || i == TIMES) {
                ordinaryRequest();
                arrangeNext();
                before = i == 0 ? RunTimeMemory::live() : before;
            }
        }
        EXPECT_EQ(RunTimeMemory::live(), before);
        EXPECT_EQ(std::uncaught_exceptions(), 0);
    }
};

TEST_P(EveryEscapeTest, TryHost_catchesEach_andNothingIsLeft)
{
    expectNothingLeft([this] { return guarded(); }, CPP_EXCEPTION);
}

TEST_P(EveryEscapeTest, CppHost_catchesEachByType_andNothingIsLeft)
{
    expectNothingLeft([this] { return caught(); }, std::get<1>(GetParam()).name);
}

INSTANTIATE_TEST_SUITE_P(Requests, EveryEscapeTest,
                         testing::Combine(testing::ValuesIn(EscapeTest::REQUESTS), testing::ValuesIn(KINDS)),
                         [](const auto& instance) {
                             return std::string(std::get<0>(instance.param).name) + "_" +
                                    std::get<1>(instance.param).name;
                         });

TEST_F(EscapeTest, ThreadsEnd_freesWhatItsHostDidNotCatchByType)
{
    onNewThread([this] {
        arrangeWatched();
        EXPECT_EQ(guarded(), CPP_EXCEPTION);
    });
    EXPECT_EQ(Watched::live, 0);
}

TEST_F(EscapeTest, Unloading_freesWhatIsLeft)
{
    arrangeWatched();
    EXPECT_EQ(guarded(), CPP_EXCEPTION);
    EXPECT_EQ(Watched::live, 1) << "until the module is unloaded";
}

TEST_F(EscapeTest, Exception_beingHandled_outlivesRequests)
{
    arrangeWatched();
    try {
        send();
        FAIL() << "nothing was thrown";
    } catch (const std::exception& first) {
        calls.take();
        EXPECT_EQ(guarded(), CPP_EXCEPTION);
        ordinaryRequest();
        EXPECT_EQ(Watched::live, 1);
        EXPECT_STREQ(first.what(), "watched");
    }
    ordinaryRequest();
    EXPECT_EQ(Watched::live, 0);
}

TEST_F(EscapeTest, Exception_onItsWay_outlivesRequests)
{
    arrangeWatched();
    EXPECT_THROW(
        {
            const AtEnd asks{[this] {
                calls.take();
                ordinaryRequest();
                EXPECT_EQ(Watched::live, 1);
            }};
            send();
        },
        Watched);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
    ordinaryRequest();
}

TEST_F(EscapeTest, HostThatKeepsTheException_mayRaiseItAgain)
{
    arrangeWatched();
    std::exception_ptr kept;
    try {
        send();
    } catch (...) {
        kept = std::current_exception();
    }
    calls.take();
    ordinaryRequest();
    EXPECT_THROW(std::rethrow_exception(kept), Watched);
    kept = nullptr;
    EXPECT_EQ(Watched::live, 0);
}

BOOL WINAPI noValue(DWORD, PVOID)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
}

TEST_F(EscapeTest, WithoutRoomInTheSlot_exceptionsStillLeave)
{
    const support::ImportHook hook("FlsSetValue", &noValue, module.handle());
    // On a separate thread, because the run time never learns that this exception was handled.
    onNewThread([this] {
        arrange(REQUESTS[0], KINDS[0]);
        EXPECT_EQ(guarded(), CPP_EXCEPTION);
    });
    EXPECT_EQ(caught(), "ownFamily");
    arrangeWatched();
    EXPECT_THROW(send(), Watched);
    EXPECT_EQ(Watched::live, 0);
    ordinaryRequest();
}

TEST_F(EscapeTest, SinkThatThrowsAtARefusal_endsNothing)
{
    allow(support::ClientToken::IDENTIFICATION);
    sink.onStatus = [] { throw Watched(); };
    for (const Request& asked : REQUESTS) {
        arrange(asked, KINDS[1]);
        long answer = 0;
        EXPECT_EQ(callGuarded(asked.send, this, &answer), CPP_EXCEPTION) << asked.name;
        EXPECT_EQ(calls.take(), (support::Lines{"call.ImpersonateClient()", "sink.SetStatus(0, 0x80041003, null, null)",
                                                "call.RevertToSelf()"}));
        EXPECT_THROW(send(), Watched) << asked.name;
        calls.take();
    }
    EXPECT_THROW(get(), Watched);
    EXPECT_THROW(execute(), Watched);
}

}  // namespace
