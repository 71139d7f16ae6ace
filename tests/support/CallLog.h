#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Os/Windows/Platform.h"

namespace support {

// What the fakes of one test were asked, in order, each call as one text with its arguments. One thread at a time.
// A LogCapture that lives has the same between its lines, behind "call: ", and the references that are taken and given
// back, as "references: NAME COUNT".
class CallLog
{
public:
    void add(std::string call);

    // One reference more or less, but not the last one, whose release is a call; `count` are left. Any thread.
    static void noteReferences(const std::string& name, int count);

    const std::vector<std::string>& all() const noexcept { return m_calls; }

    // What came since the last take.
    std::vector<std::string> take() { return std::exchange(m_calls, {}); }

private:
    std::vector<std::string> m_calls;
};

// A status as the tests spell it: "0x80041008".
std::string hex(HRESULT status);

}  // namespace support
