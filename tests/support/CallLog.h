#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Os/Windows/Platform.h"

namespace support {

// Records the calls that the fakes of one test receive, in order, each as one text with its arguments. One thread at a
// time. A living LogCapture shows the calls between its lines, after "call: ", and the changes of reference counts as
// "references: NAME COUNT".
class CallLog
{
public:
    void add(std::string call);

    // Records an AddRef, or a Release that is not the last (the last is a call). `count` references remain. Any thread.
    static void noteReferences(const std::string& name, int count);

    // Returns the calls since the previous take().
    std::vector<std::string> take() { return std::exchange(m_calls, {}); }

private:
    std::vector<std::string> m_calls;
};

// Returns a status as the tests write it: "0x80041008".
std::string hex(HRESULT status);

}  // namespace support
