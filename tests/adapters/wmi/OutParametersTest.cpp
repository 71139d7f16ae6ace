#include "adapters/wmi/OutParameters.h"

#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::debugLine;
using support::errorLine;
using support::Lines;

constexpr utils::LogSite CALLER{"WmiConverter", "wa::Caller"};

class OutParametersTest : public WmiTest
{
protected:
    ~OutParametersTest() override
    {
        EXPECT_EQ(classObject.references(), 0);
        EXPECT_EQ(signature.references(), 0);
        EXPECT_EQ(signature.spawnedReferences(), 0);
    }

    void SetUp() override
    {
        wmiNamespace.classes["Zerix_X"] = &classObject;
        classObject.methods["Run"] = &signature;
    }

    // Whether there was an object; its reference is given back.
    bool spawns()
    {
        return wa::spawnOutParameters(CALLER, "Zerix_X", "Run", &wmiNamespace, &context).object.get() != nullptr;
    }

    support::FakeClassObject classObject{calls, "Zerix_X"};
    support::FakeClassObject signature{calls, "Run.out"};
};

const std::string ASKED = "namespace.GetObject(Zerix_X, 0, context, out, null)";
const std::string GET_METHOD = "Zerix_X.GetMethod(Run, 0, null, out)";

TEST_F(OutParametersTest, AnObjectOfTheMethodsOutputSignatureIsSpawned)
{
    EXPECT_TRUE(spawns());
    EXPECT_EQ(calls.take(), (Lines{ASKED, GET_METHOD, "Run.out.SpawnInstance(0)", "Run.out#1 released",
                                   "Run.out released", "Zerix_X released"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine("wa::Caller", "Get object for Zerix_X"), debugLine("wa::Caller", "Get method Run")}));
}

TEST_F(OutParametersTest, AnyAnswerOfTheNamespaceButZeroIsAnErrorSuccessCodesToo)
{
    wmiNamespace.getObjectStatus = 1;
    EXPECT_FALSE(spawns());
    EXPECT_EQ(calls.take(), (Lines{ASKED, "Zerix_X released"}));
    EXPECT_EQ(takeMessages(), (Lines{debugLine("wa::Caller", "Get object for Zerix_X"),
                                     errorLine("wa::Caller", "pNamespace->GetObject() error 0x1")}));
}

TEST_F(OutParametersTest, SuccessWithoutAClassEndsQuietly)
{
    wmiNamespace.classes["Zerix_X"] = nullptr;
    EXPECT_FALSE(spawns());
    EXPECT_EQ(calls.take(), Lines{ASKED});
    EXPECT_EQ(takeMessages(), Lines{debugLine("wa::Caller", "Get object for Zerix_X")});
}

TEST_F(OutParametersTest, AMethodThatTheClassLacksIsLoggedAndNothingIsSpawned)
{
    classObject.methods.clear();
    EXPECT_FALSE(spawns());
    EXPECT_EQ(calls.take(), (Lines{ASKED, GET_METHOD, "Zerix_X released"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine("wa::Caller", "Get object for Zerix_X"), debugLine("wa::Caller", "Get method Run"),
                     errorLine("wa::Caller", "pClass->GetMethod() error 0x80041002")}));
}

TEST_F(OutParametersTest, TheSpawnComesBeforeTheStatusOfTheMethodIsJudged)
{
    classObject.getMethodStatus = static_cast<HRESULT>(WBEM_E_FAILED);
    EXPECT_FALSE(spawns());
    EXPECT_EQ(calls.take(), (Lines{ASKED, GET_METHOD, "Run.out.SpawnInstance(0)", "Run.out#1 released",
                                   "Run.out released", "Zerix_X released"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine("wa::Caller", "Get object for Zerix_X"), debugLine("wa::Caller", "Get method Run"),
                     errorLine("wa::Caller", "pClass->GetMethod() error 0x80041001")}));
}

TEST_F(OutParametersTest, GetMethod_successCodeButZero_isAnError)
{
    classObject.getMethodStatus = 1;
    EXPECT_FALSE(spawns());
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine("wa::Caller", "Get object for Zerix_X"), debugLine("wa::Caller", "Get method Run"),
                     errorLine("wa::Caller", "pClass->GetMethod() error 0x1")}));
}

TEST_F(OutParametersTest, AMethodWithoutOutputEndsQuietly)
{
    classObject.methods["Run"] = nullptr;
    EXPECT_FALSE(spawns());
    EXPECT_EQ(calls.take(), (Lines{ASKED, GET_METHOD, "Zerix_X released"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine("wa::Caller", "Get object for Zerix_X"), debugLine("wa::Caller", "Get method Run")}));
}

TEST_F(OutParametersTest, AnOutputThatCannotBeSpawnedEndsQuietly)
{
    signature.spawnsNothing = true;
    signature.spawnStatus = static_cast<HRESULT>(WBEM_E_OUT_OF_MEMORY);
    EXPECT_FALSE(spawns());
    EXPECT_EQ(calls.take(),
              (Lines{ASKED, GET_METHOD, "Run.out.SpawnInstance(0)", "Run.out released", "Zerix_X released"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine("wa::Caller", "Get object for Zerix_X"), debugLine("wa::Caller", "Get method Run")}));
}

}  // namespace
