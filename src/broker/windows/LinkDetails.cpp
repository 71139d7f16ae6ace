// What PlatformAdapters reads of an adapter's device, since no table holds it. NDIS answers both questions from what
// the driver registered when it started and has indicated since. The driver itself is not asked, so that one that hangs
// does not hold up the request.

#include "Os/Windows/Platform.h"

#include <winioctl.h>

#include <memory>
#include <string>

#include "broker/windows/LinkSpeed.h"
#include "broker/windows/PlatformAdapters.h"

namespace broker {

namespace {

// The compiler's headers have the control code, but neither the questions nor the structures that answer them.
constexpr DWORD QUERY_GLOBAL_STATS = CTL_CODE(FILE_DEVICE_PHYSICAL_NETCARD, 0, METHOD_OUT_DIRECT, FILE_ANY_ACCESS);

// OID_GEN_MAX_LINK_SPEED and NDIS_LINK_SPEED
struct MaxLinkSpeed
{
    static constexpr ULONG QUESTION = 0x00010206;

    ULONG64 transmit;
    ULONG64 receive;
};

// OID_GEN_LINK_STATE and NDIS_LINK_STATE
struct LinkState
{
    static constexpr ULONG QUESTION = 0x00010207;
    static constexpr ULONG HALF_DUPLEX = 1;
    static constexpr ULONG FULL_DUPLEX = 2;

    ULONG header;
    ULONG connectState;
    ULONG duplexState;
    ULONG64 transmitSpeed;
    ULONG64 receiveSpeed;
    ULONG pauseFunctions;
    ULONG autoNegotiationFlags;
};

struct DeviceCloser
{
    void operator()(HANDLE device) const noexcept { CloseHandle(device); }
};
using Device = std::unique_ptr<void, DeviceCloser>;

// Null when the adapter has no device, or the client may not open it. To ask takes no right to read or write.
Device open(const std::string& guid)
{
    const HANDLE device = CreateFileA(("\\\\.\\" + guid).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    return Device(device == INVALID_HANDLE_VALUE ? nullptr : device);
}

template <class Answer>
std::optional<Answer> ask(HANDLE device)
{
    ULONG question = Answer::QUESTION;
    Answer answer{};
    DWORD size = 0;
    const BOOL isAnswered = DeviceIoControl(device, QUERY_GLOBAL_STATS, &question, sizeof(question), &answer,
                                            sizeof(answer), &size, nullptr);
    return isAnswered != FALSE && size == sizeof(answer) ? std::make_optional(answer) : std::nullopt;
}

// Unknown without a link.
std::optional<bool> isFullDuplex(const LinkState& state)
{
    switch (state.duplexState) {
        case LinkState::HALF_DUPLEX:
            return false;
        case LinkState::FULL_DUPLEX:
            return true;
        default:
            return std::nullopt;
    }
}

}  // namespace

LinkDetails PlatformAdapters::readLinkDetails(const Adapter& adapter)
{
    LinkDetails result;
    const Device device = open(adapter.guid);
    if (device == nullptr) {
        return result;
    }
    if (const auto speed = ask<MaxLinkSpeed>(device.get())) {
        result.maxSpeed = knownSpeed(speed->transmit);
    }
    if (const auto state = ask<LinkState>(device.get())) {
        result.isFullDuplex = isFullDuplex(*state);
    }
    return result;
}

}  // namespace broker
