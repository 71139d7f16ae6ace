#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "broker/windows/LinkSpeed.h"
#include "broker/windows/PlatformAdapters.h"
#include "support/LogCapture.h"
#include "support/WrappedImport.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* GUID_TEXT = "{71F897D7-EB7C-4D8D-89DB-AC80D9DD2270}";
// The control code and the two queries, with the numbers of the platform's headers.
constexpr DWORD QUERY_GLOBAL_STATS = 0x00170002;
constexpr ULONG MAX_LINK_SPEED = 0x00010206;
constexpr ULONG LINK_STATE = 0x00010207;

// The device of an adapter, which the test sets.
struct Device
{
    bool canBeOpened = true;
    // The data that NDIS returns for each query, and the number of bytes that are missing at the end.
    std::array<ULONG64, 2> speeds{10'000'000'000, 20'000'000'000};
    std::array<ULONG, 10> state{};
    DWORD missingBytes = 0;
    bool answersSpeed = true;
    bool answersState = true;

    std::vector<std::string> opened;
    DWORD access = ~0U;
    int closed = 0;
};

Device device;
constexpr std::size_t DUPLEX_STATE = 2;

HANDLE handle()
{
    return &device;
}

HANDLE WINAPI openDevice(LPCSTR name, DWORD access, DWORD /*share*/, LPSECURITY_ATTRIBUTES /*security*/,
                         DWORD /*creation*/, DWORD /*flags*/, HANDLE /*pattern*/)
{
    device.opened.emplace_back(name);
    device.access = access;
    if (!device.canBeOpened) {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return handle();
}

constexpr auto closeDevice = [](auto original, HANDLE closing) -> BOOL {
    if (closing != handle()) {
        return original(closing);
    }
    ++device.closed;
    return TRUE;
};

BOOL answer(const void* content, DWORD length, LPVOID buffer, DWORD capacity, LPDWORD size)
{
    EXPECT_EQ(capacity, length);
    *size = length - device.missingBytes;
    std::memcpy(buffer, content, *size);
    return TRUE;
}

BOOL WINAPI askDevice(HANDLE asked, DWORD code, LPVOID question, DWORD questionSize, LPVOID buffer, DWORD capacity,
                      LPDWORD size, LPOVERLAPPED /*overlapped*/)
{
    EXPECT_EQ(asked, handle());
    EXPECT_EQ(code, QUERY_GLOBAL_STATS);
    EXPECT_EQ(questionSize, sizeof(ULONG));
    const ULONG oid = *static_cast<const ULONG*>(question);
    if (oid == MAX_LINK_SPEED && device.answersSpeed) {
        return answer(device.speeds.data(), sizeof(device.speeds), buffer, capacity, size);
    }
    if (oid == LINK_STATE && device.answersState) {
        return answer(device.state.data(), sizeof(device.state), buffer, capacity, size);
    }
    SetLastError(ERROR_NOT_SUPPORTED);
    return FALSE;
}

class LinkDetails : public testing::Test
{
protected:
    LinkDetails() { reset(); }

    static void reset()
    {
        device = {};
        device.state[DUPLEX_STATE] = 2;
    }

    // Returns the speed and the duplex mode.
    std::string read()
    {
        broker::Adapter adapter;
        adapter.guid = GUID_TEXT;
        const broker::LinkDetails link = m_source.readLinkDetails(adapter);
        return (link.maxSpeed ? std::to_string(*link.maxSpeed) : "unknown") + " " +
               (!link.isFullDuplex   ? "unknown"
                : *link.isFullDuplex ? "full"
                                     : "half");
    }

    support::LogCapture m_log{1};
    support::ImportHook m_open{"CreateFileA", &openDevice};
    support::ImportHook m_ask{"DeviceIoControl", &askDevice};
    std::unique_ptr<support::ImportHook> m_close =
        support::WrappedImport<decltype(CloseHandle), closeDevice>::install("CloseHandle", nullptr);
    broker::PlatformAdapters m_source;
};

TEST_F(LinkDetails, Device_isOpenedByGuid_askedAndClosed)
{
    EXPECT_EQ(read(), "10000000000 full");
    EXPECT_THAT(device.opened, ElementsAre(std::string("\\\\.\\") + GUID_TEXT));
    EXPECT_EQ(device.access, 0U) << "an ordinary user could not open it";
    EXPECT_EQ(device.closed, 1);
}

struct Answer
{
    const char* name;
    void (*change)();
    const char* read;
};

const Answer ANSWERS[]{
    {"the speed is refused", [] { device.answersSpeed = false; }, "unknown full"},
    {"the state is refused", [] { device.answersState = false; }, "10000000000 unknown"},
    {"answers that are too short", [] { device.missingBytes = 1; }, "unknown unknown"},
    {"no speed", [] { device.speeds[0] = 0; }, "unknown full"},
    {"all ones as the speed", [] { device.speeds[0] = ~ULONG64{0}; }, "unknown full"},
    {"an unknown duplex mode", [] { device.state[DUPLEX_STATE] = 0; }, "10000000000 unknown"},
    {"half duplex", [] { device.state[DUPLEX_STATE] = 1; }, "10000000000 half"},
};

TEST_F(LinkDetails, EachAnswer_isReadAlone)
{
    for (const Answer& answer : ANSWERS) {
        reset();
        answer.change();
        EXPECT_EQ(read(), answer.read) << answer.name;
        EXPECT_EQ(device.closed, 1) << answer.name;
    }
    EXPECT_THAT(m_log.events(), IsEmpty());
}

TEST_F(LinkDetails, DeviceThatCannotBeOpened_isUnknown)
{
    device.canBeOpened = false;
    EXPECT_EQ(read(), "unknown unknown");
    EXPECT_EQ(device.closed, 0);
    EXPECT_THAT(m_log.events(), IsEmpty());
}

}  // namespace
