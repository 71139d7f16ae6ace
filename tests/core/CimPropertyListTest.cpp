#include "core/CimPropertyList.h"

#include <gmock/gmock.h>

#include <memory>

#include "core/CimPropertyTypes.h"
#include "support/LockCount.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using core::CimPropertyList;
using core::CimPropertyUint8;
using support::locksTakenBy;
using testing::IsNull;

class CimPropertyListTest : public testing::Test
{
protected:
    CimPropertyUint8 m_a{"A"};
    CimPropertyUint8 m_b{"B"};
    CimPropertyUint8 m_laterA{"A"};
    CimPropertyList m_list;
};

TEST_F(CimPropertyListTest, Duplicate_hidesTheEarlierProperty)
{
    m_list.add(&m_a);
    m_list.add(&m_b);
    m_list.add(&m_laterA);
    CimPropertyList::Iterator iterator = m_list.getIterator();
    EXPECT_EQ(iterator.next(), &m_b);
    EXPECT_EQ(iterator.next(), &m_laterA);
    EXPECT_THAT(iterator.next(), IsNull());
    EXPECT_EQ(m_list.size(), 3U);
    EXPECT_TRUE(m_a.isOverriden());
    EXPECT_FALSE(m_b.isOverriden());
    EXPECT_FALSE(m_laterA.isOverriden());
}

TEST_F(CimPropertyListTest, ThirdOfAName_hidesTheSecond)
{
    CimPropertyUint8 latestA("A");
    m_list.add(&m_a);
    m_list.add(&m_laterA);
    m_list.add(&latestA);
    EXPECT_TRUE(m_a.isOverriden());
    EXPECT_TRUE(m_laterA.isOverriden());
    EXPECT_EQ(m_list.getIterator().first(), &latestA);
    EXPECT_EQ(m_list.findProperty("A"), &latestA);
}

TEST_F(CimPropertyListTest, Names_areCaseSensitive)
{
    CimPropertyUint8 small("a");
    m_list.add(&m_a);
    m_list.add(&small);
    EXPECT_FALSE(m_a.isOverriden());
    EXPECT_EQ(m_list.findProperty("A"), &m_a);
    EXPECT_EQ(m_list.findProperty("a"), &small);
}

TEST_F(CimPropertyListTest, EmptyList_hasNoFirstProperty)
{
    CimPropertyList::Iterator iterator = m_list.getIterator();
    EXPECT_THAT(iterator.first(), IsNull());
    EXPECT_THAT(iterator.next(), IsNull());
}

TEST_F(CimPropertyListTest, DestroyedList_leavesTheProperties)
{
    class Counted : public CimPropertyUint8
    {
    public:
        explicit Counted(int* deletions) : CimPropertyUint8("A"), m_deletions(deletions) {}
        ~Counted() override { ++*m_deletions; }

    private:
        int* m_deletions;
    };

    int deletions = 0;
    Counted property(&deletions);
    {
        CimPropertyList list;
        list.add(&property);
    }
    EXPECT_EQ(deletions, 0);
}

TEST_F(CimPropertyListTest, OwningList_deletesHiddenPropertiesToo)
{
    class Counted : public CimPropertyUint8
    {
    public:
        explicit Counted(int* deletions) : CimPropertyUint8("A"), m_deletions(deletions) {}
        ~Counted() override { ++*m_deletions; }

    private:
        int* m_deletions;
    };

    int deletions = 0;
    {
        CimPropertyList list;
        list.setOwnsElements(true);
        list.add(new Counted(&deletions));
        list.add(new Counted(&deletions));
    }
    EXPECT_EQ(deletions, 2);
}

TEST_F(CimPropertyListTest, Add_null_isRefused)
{
    EXPECT_EQ(support::thrownBy([&] { m_list.add(nullptr); }),
              "DRAVEv2: CimPropertyList:85: Assertion failed: 'newProperty != NULL'");
    EXPECT_EQ(m_list.size(), 0U);
}

// The index is private, but an explicit instantiation may name it.
using Index = utils::SafeMap<std::string, core::CimProperty*>;

template <Index CimPropertyList::*MEMBER>
struct Exposed
{
    friend Index& indexOf(CimPropertyList& list) { return list.*MEMBER; }
};

Index& indexOf(CimPropertyList& list);
template struct Exposed<&CimPropertyList::m_index>;

TEST_F(CimPropertyListTest, Add_underANullOfTheIndex_changesNothing)
{
    EXPECT_THAT(indexOf(m_list).get("A"), IsNull());
    EXPECT_EQ(support::thrownBy([&] { m_list.add(&m_a); }),
              "DRAVEv2: CimPropertyList:93: Assertion failed: 'overridenProperty != NULL'");
    EXPECT_EQ(m_list.size(), 0U);
    EXPECT_THAT(indexOf(m_list).get("A"), IsNull());
}

TEST_F(CimPropertyListTest, FindProperty_ofAnUnknownName_isNull)
{
    EXPECT_THAT(m_list.findProperty("A"), IsNull());
    m_list.add(&m_a);
    EXPECT_EQ(m_list.findProperty("A"), &m_a);
    EXPECT_FALSE(m_a.isOverriden());
}

TEST_F(CimPropertyListTest, Add_locksForEachStep)
{
    EXPECT_EQ(locksTakenBy([&] { m_list.add(&m_a); }), 3U) << "contains, set, append";
    EXPECT_EQ(locksTakenBy([&] { m_list.add(&m_laterA); }), 4U) << "contains, get, set, append";
}

TEST_F(CimPropertyListTest, GetIterator_takesNoLock)
{
    EXPECT_EQ(locksTakenBy([&] { m_list.getIterator(); }), 0U);
    EXPECT_EQ(locksTakenBy([&] { m_list.SafeList::getIterator(); }), 1U);
}

TEST_F(CimPropertyListTest, BaseIterator_skipsNothing)
{
    m_list.add(&m_a);
    m_list.add(&m_laterA);
    CimPropertyList::Iterator iterator = m_list.SafeList::getIterator();
    EXPECT_EQ(iterator.first(), &m_a);
    EXPECT_EQ(iterator.next(), &m_laterA);
}

TEST_F(CimPropertyListTest, GetIterator_isVirtual)
{
    m_list.add(&m_a);
    m_list.add(&m_laterA);
    utils::SafeList<core::CimProperty*>& base = m_list;
    EXPECT_EQ(base.getIterator().first(), &m_laterA);
}

class SkippingIteratorTest : public CimPropertyListTest
{
protected:
    SkippingIteratorTest()
    {
        m_list.add(&m_a);
        m_list.add(&m_laterA);
        m_list.add(&m_b);
    }

    core::OverridenPropertiesSkippingIterator m_iterator{&m_list};
};

TEST_F(SkippingIteratorTest, HiddenProperty_takesAnotherLock)
{
    EXPECT_EQ(locksTakenBy([&] { EXPECT_EQ(m_iterator.next(), &m_laterA); }), 2U);
    EXPECT_EQ(locksTakenBy([&] { EXPECT_EQ(m_iterator.next(), &m_b); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { EXPECT_THAT(m_iterator.next(), IsNull()); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { EXPECT_EQ(m_iterator.first(), &m_laterA); }), 2U);
}

TEST_F(SkippingIteratorTest, First_goesBackAndSkips)
{
    m_iterator.next();
    m_iterator.next();
    EXPECT_EQ(m_iterator.first(), &m_laterA);
    EXPECT_EQ(m_iterator.next(), &m_b);
}

TEST_F(SkippingIteratorTest, First_allHidden_isNull)
{
    m_laterA.setOverriden(true);
    m_b.setOverriden(true);
    EXPECT_THAT(m_iterator.first(), IsNull());
    EXPECT_THAT(m_iterator.next(), IsNull());
}

TEST_F(SkippingIteratorTest, Size_countsHiddenProperties)
{
    EXPECT_EQ(m_iterator.size(), 3U);
}

TEST_F(SkippingIteratorTest, Clone_startsAnewAndSkipsNothing)
{
    EXPECT_EQ(m_iterator.next(), &m_laterA);
    const std::unique_ptr<CimPropertyList::IteratorImplementation> clone(m_iterator.clone());
    EXPECT_EQ(clone->next(), &m_a);
    EXPECT_EQ(clone->next(), &m_laterA);
    EXPECT_EQ(m_iterator.next(), &m_b);
}

TEST_F(SkippingIteratorTest, Advance_skipsNothing)
{
    EXPECT_EQ(m_iterator.advance(), &m_a);
}

TEST_F(SkippingIteratorTest, Iterator_seesAddedProperties)
{
    CimPropertyUint8 c("C");
    m_iterator.next();
    EXPECT_EQ(m_iterator.next(), &m_b);
    m_list.add(&c);
    EXPECT_EQ(m_iterator.next(), &c);
}

TEST_F(CimPropertyListTest, GetIterator_standsBehindTheDestructor)
{
    EXPECT_EQ(support::slotOf(&CimPropertyList::getIterator), 2U);
    EXPECT_EQ(support::slotOf(&core::OverridenPropertiesSkippingIterator::next), 0U);
    EXPECT_EQ(support::slotOf(&core::OverridenPropertiesSkippingIterator::first), 1U);
    EXPECT_EQ(support::slotOf(&core::OverridenPropertiesSkippingIterator::size), 2U);
    EXPECT_EQ(support::slotOf(&core::OverridenPropertiesSkippingIterator::clone), 5U);
    EXPECT_EQ(support::slotOf(&core::OverridenPropertiesSkippingIterator::advance), 6U);
}

}  // namespace
