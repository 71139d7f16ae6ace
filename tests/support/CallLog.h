#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Os/Windows/Platform.h"

namespace support {

// What the fakes of one test were asked, in order, each call as one text with its arguments. One thread at a time.
class CallLog
{
public:
    void add(std::string call) { m_calls.push_back(std::move(call)); }

    const std::vector<std::string>& all() const noexcept { return m_calls; }

    // What came since the last take.
    std::vector<std::string> take() { return std::exchange(m_calls, {}); }

private:
    std::vector<std::string> m_calls;
};

// A status as the tests spell it: "0x80041008".
std::string hex(HRESULT status);

}  // namespace support
