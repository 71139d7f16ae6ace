#pragma once

#include <gtest/gtest.h>

#include <comdef.h>

#include <string>

#include "fakes/FakeBroker.h"
#include "fakes/FakeClassObject.h"
#include "fakes/FakeContext.h"
#include "fakes/FakeNamespace.h"
#include "fakes/FakeSink.h"
#include "support/CallLog.h"
#include "support/Describe.h"
#include "support/ImportHook.h"
#include "support/LogLines.h"
#include "support/NoComLeaks.h"
#include "support/Thrown.h"

namespace support {

// Returns the code of the COM error that `action` throws, or a text that says what happened instead.
template <class Action>
std::string comErrorOf(const Action& action)
{
    try {
        action();
    } catch (const _com_error& error) {
        return hex(error.Error());
    } catch (const std::exception& exception) {
        return std::string("thrown: ") + exception.what();
    }
    return "nothing was thrown";
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
