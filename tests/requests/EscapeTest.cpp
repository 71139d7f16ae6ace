#include <comdef.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <thread>

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

enum class Kind
{
    OWN_FAMILY,
    BAD_ALLOC,
    COM_ERROR,
    SYNTAX_ERROR
};

enum class Request
{
    ENUMERATE,
    PUT,
    REMOVE
};

const char* nameOf(Kind kind)
{
    switch (kind) {
        case Kind::OWN_FAMILY:
            return "ownFamily";
        case Kind::BAD_ALLOC:
            return "badAlloc";
        case Kind::COM_ERROR:
            return "comError";
        default:
            return "syntaxError";
    }
}

const char* nameOf(Request request)
{
    switch (request) {
        case Request::ENUMERATE:
            return "enumerate";
        case Request::PUT:
            return "put";
        default:
            return "remove";
    }
}

[[noreturn]] void throwOf(Kind kind)
{
    switch (kind) {
        case Kind::OWN_FAMILY:
            throw utils::Exception(std::string("a text that is too long to be kept without a block of memory"));
        case Kind::BAD_ALLOC:
            throw std::bad_alloc();
        case Kind::COM_ERROR:
            throw _com_error(E_OUTOFMEMORY);
        default:
            core::CimPath("Zerix_ConcreteJob=\"x\"");
            throw std::logic_error("was parsed");
    }
}

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
protected:
    void SetUp() override
    {
        start();
        calls.take();
        *object.path.address() = samples::bstr(PORT_PATH);
    }

    // From this call on, the request throws an exception of this kind.
    void arrange(Request asked, Kind kind)
    {
        request = asked;
        broker.onGetInstances = [kind]() -> utils::SafeList<core::CimInstance*> { throwOf(kind); };
        object.onGet = [kind] { throwOf(kind); };
        // A deletion turns a failure of the broker into a status. Only an invalid path lets an exception leave it.
        broker.onFind = [kind]() -> core::CimInstance* { throwOf(kind); };
        *path.out() = utils::toBstr(kind == Kind::OWN_FAMILY     ? ""
                                    : kind == Kind::SYNTAX_ERROR ? "Zerix_ConcreteJob=\"x\""
                                                                 : JOB_PATH);
    }

    void arrangeWatched()
    {
        request = Request::ENUMERATE;
        broker.onGetInstances = []() -> utils::SafeList<core::CimInstance*> { throw Watched(); };
    }

    // Has no destructors to run, like the functions of a host in C.
    static long send(void* test)
    {
        auto& self = *static_cast<EscapeTest*>(test);
        switch (self.request) {
            case Request::ENUMERATE:
                return self.provider->CreateInstanceEnumAsync(self.className.get(), 0, &self.context, &self.sink);
            case Request::PUT:
                return self.provider->PutInstanceAsync(&self.object, WBEM_FLAG_UPDATE_ONLY, &self.context, &self.sink);
            default:
                return self.provider->DeleteInstanceAsync(self.path.get(), 0, &self.context, &self.sink);
        }
    }

    // The result for a __try host: the code of the exception.
    unsigned long guarded()
    {
        const unsigned long code = callGuarded(&EscapeTest::send, this, &answer);
        expectOnlyIdentityGivenBack();
        return code;
    }

    // The result for a C++ host: the exception that it catches.
    std::string caught()
    {
        std::string type = "nothing";
        try {
            send(this);
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
        expectOnlyIdentityGivenBack();
        return type;
    }

    void expectOnlyIdentityGivenBack()
    {
        EXPECT_FALSE(support::threadHasToken());
        const support::Lines made = calls.take();
        ASSERT_FALSE(made.empty());
        EXPECT_EQ(made.back(), "call.RevertToSelf()");
        for (const std::string& entry : made) {
            ASSERT_NE(entry.rfind("sink.", 0), 0U) << entry;
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

    Request request = Request::ENUMERATE;
    long answer = 0;
    utils::ScopedBstr className{"Zerix_EthernetPort"};
    utils::ScopedBstr path;
};

struct Escape
{
    Request request;
    Kind kind;
};

class EveryEscapeTest : public EscapeTest, public testing::WithParamInterface<Escape>
{
};

TEST_P(EveryEscapeTest, TryHost_catchesEach_andNothingIsLeft)
{
    const RunTimeMemory memory;
    arrange(GetParam().request, GetParam().kind);
    EXPECT_EQ(guarded(), CPP_EXCEPTION);
    ordinaryRequest();
    arrange(GetParam().request, GetParam().kind);
    const int before = RunTimeMemory::live();
    for (int i = 0; i < TIMES; ++i) {
        ASSERT_EQ(guarded(), CPP_EXCEPTION) << i;
    }
    ordinaryRequest();
    arrange(GetParam().request, GetParam().kind);
    EXPECT_EQ(RunTimeMemory::live(), before);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
}

TEST_P(EveryEscapeTest, CppHost_catchesEachByType_andNothingIsLeft)
{
    const RunTimeMemory memory;
    arrange(GetParam().request, GetParam().kind);
    EXPECT_EQ(caught(), nameOf(GetParam().kind));
    ordinaryRequest();
    arrange(GetParam().request, GetParam().kind);
    const int before = RunTimeMemory::live();
    for (int i = 0; i < TIMES; ++i) {
        ASSERT_EQ(caught(), nameOf(GetParam().kind)) << i;
    }
    EXPECT_EQ(std::uncaught_exceptions(), 0);
    ordinaryRequest();
    arrange(GetParam().request, GetParam().kind);
    EXPECT_EQ(RunTimeMemory::live(), before);
}

std::vector<Escape> everyEscape()
{
    std::vector<Escape> all;
    for (const Request request : {Request::ENUMERATE, Request::PUT, Request::REMOVE}) {
        for (const Kind kind : {Kind::OWN_FAMILY, Kind::BAD_ALLOC, Kind::COM_ERROR, Kind::SYNTAX_ERROR}) {
            all.push_back({request, kind});
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Requests, EveryEscapeTest, testing::ValuesIn(everyEscape()),
                         [](const testing::TestParamInfo<Escape>& instance) {
                             return std::string(nameOf(instance.param.request)) + "_" + nameOf(instance.param.kind);
                         });

TEST_F(EscapeTest, ThreadsEnd_freesWhatItsHostDidNotCatchByType)
{
    std::thread([this] {
        const ComApartment ofThread;
        const support::CallContext callOfThread(calls, support::ClientToken::IMPERSONATION);
        arrangeWatched();
        EXPECT_EQ(guarded(), CPP_EXCEPTION);
    }).join();
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
        send(this);
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
            send(this);
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
        send(this);
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
    std::thread([this] {
        const ComApartment ofThread;
        const support::CallContext callOfThread(calls, support::ClientToken::IMPERSONATION);
        arrange(Request::ENUMERATE, Kind::OWN_FAMILY);
        EXPECT_EQ(guarded(), CPP_EXCEPTION);
    }).join();
    EXPECT_EQ(caught(), "ownFamily");
    arrangeWatched();
    EXPECT_THROW(send(this), Watched);
    EXPECT_EQ(Watched::live, 0);
    ordinaryRequest();
}

TEST_F(EscapeTest, SinkThatThrowsAtARefusal_endsNothing)
{
    call.reset();
    call.emplace(calls, support::ClientToken::IDENTIFICATION);
    sink.onStatus = [] { throw Watched(); };
    for (const Request asked : {Request::ENUMERATE, Request::PUT, Request::REMOVE}) {
        arrange(asked, Kind::BAD_ALLOC);
        EXPECT_EQ(callGuarded(&EscapeTest::send, this, &answer), CPP_EXCEPTION) << nameOf(asked);
        EXPECT_EQ(calls.take(), (support::Lines{"call.ImpersonateClient()", "sink.SetStatus(0, 0x80041003, null, null)",
                                                "call.RevertToSelf()"}));
        EXPECT_THROW(send(this), Watched) << nameOf(asked);
        calls.take();
    }
    EXPECT_THROW(get(), Watched);
    EXPECT_THROW(execute(), Watched);
}

}  // namespace
