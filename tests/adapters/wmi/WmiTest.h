#pragma once

#include <gtest/gtest.h>

#include <string>

#include "core/CimPropertyTypes.h"
#include "fakes/FakeBroker.h"
#include "fakes/FakeClassObject.h"
#include "fakes/FakeContext.h"
#include "fakes/FakeNamespace.h"
#include "fakes/FakeSink.h"
#include "support/CallLog.h"
#include "support/ComErrors.h"
#include "support/Describe.h"
#include "support/ImportHook.h"
#include "support/LogLines.h"
#include "support/NoComLeaks.h"
#include "support/Thrown.h"

namespace support {

// Returns the condition of the conversion's assertion that fails in `action`, or the text of another outcome.
template <class Action>
std::string refusalOf(const Action& action)
{
    const std::string file = "WmiConverter:#: ";
    const std::string assertion = unnumberedAssertionOf(action);
    return assertion.starts_with(file) ? assertion.substr(file.size()) : assertion;
}

}  // namespace support

// The fixture of one test of the conversion layer. Checks that no reference is left at the end.
class WmiTest : public testing::Test
{
protected:
    ~WmiTest() override
    {
        EXPECT_EQ(wmiNamespace.references(), 0);
        EXPECT_EQ(context.references(), 0);
        EXPECT_EQ(sink.references(), 0);
    }

    support::Lines takeMessages() { return support::takeMessages(log); }

    support::NoComLeaks leaks;
    support::LogCapture log{2};
    support::CallLog calls;
    support::FakeBroker broker{calls};
    support::FakeNamespace wmiNamespace{calls};
    support::FakeContext context{calls};
    support::FakeSink sink{calls};
};
