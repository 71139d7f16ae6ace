#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "broker/windows/LinkSpeed.h"
#include "broker/windows/PlatformAdapters.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"

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

BOOL WINAPI closeDevice(HANDLE closing)
{
    static const auto close = reinterpret_cast<decltype(&CloseHandle)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32.dll"), "CloseHandle")));
    if (closing != handle()) {
        return close(closing);
    }
    ++device.closed;
    return TRUE;
}

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
    LinkDetails()
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
    support::ImportHook m_close{"CloseHandle", &closeDevice};
    broker::PlatformAdapters m_source;
};

TEST_F(LinkDetails, Device_isOpenedByGuid_askedAndClosed)
{
    EXPECT_EQ(read(), "10000000000 full");
    EXPECT_THAT(device.opened, ElementsAre(std::string("\\\\.\\") + GUID_TEXT));
    EXPECT_EQ(device.access, 0U) << "an ordinary user could not open it";
    EXPECT_EQ(device.closed, 1);
}

TEST_F(LinkDetails, DeviceThatCannotBeOpened_isUnknown)
{
    device.canBeOpened = false;
    EXPECT_EQ(read(), "unknown unknown");
    EXPECT_EQ(device.closed, 0);
    EXPECT_THAT(m_log.events(), IsEmpty());
}

TEST_F(LinkDetails, RefusedQuestion_leavesTheOtherAnswer)
{
    device.answersSpeed = false;
    EXPECT_EQ(read(), "unknown full");
    device.answersSpeed = true;
    device.answersState = false;
    EXPECT_EQ(read(), "10000000000 unknown");
    EXPECT_EQ(device.closed, 2);
    EXPECT_THAT(m_log.events(), IsEmpty());
}

TEST_F(LinkDetails, ShortAnswer_isNone)
{
    device.missingBytes = 1;
    EXPECT_EQ(read(), "unknown unknown");
}

TEST_F(LinkDetails, SpeedThatTheDriverLacks_isUnknown)
{
    for (const ULONG64 lacking : {ULONG64{0}, ~ULONG64{0}}) {
        device.speeds[0] = lacking;
        EXPECT_EQ(read(), "unknown full");
    }
}

TEST_F(LinkDetails, DuplexState_followsTheDrivers)
{
    device.state[DUPLEX_STATE] = 0;
    EXPECT_EQ(read(), "10000000000 unknown");
    device.state[DUPLEX_STATE] = 1;
    EXPECT_EQ(read(), "10000000000 half");
}

// Wine creates no devices for adapters.
TEST(LinkDetailsHere, EveryAdapter_isAskedWithoutAFailure)
{
    const support::LogCapture log(1);
    broker::PlatformAdapters source;
    for (const broker::Adapter& adapter : source.readAdapters()) {
        const broker::LinkDetails link = source.readLinkDetails(adapter);
        EXPECT_TRUE(!link.maxSpeed || !adapter.transmitSpeed || *link.maxSpeed >= *adapter.transmitSpeed);
    }
    EXPECT_THAT(log.events(), IsEmpty());
}

}  // namespace
