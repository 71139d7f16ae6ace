#include "Utils/Containers.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/LockCount.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"
#include "support/Together.h"

namespace {

using support::locksTakenBy;
using testing::ElementsAre;
using testing::IsNull;
using testing::Pair;

// Counts its deletions if it has a counter.
class Element
{
public:
    explicit Element(int* deletions = nullptr) : m_deletions(deletions) {}
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;
    ~Element()
    {
        if (m_deletions != nullptr) {
            ++*m_deletions;
        }
    }

private:
    int* m_deletions;
};

using Elements = utils::SafeList<Element*>;
using Flags = utils::SafeMap<std::string, bool>;

static_assert(std::has_virtual_destructor_v<utils::Map<int, int>>);
static_assert(std::has_virtual_destructor_v<Flags>);
static_assert(std::has_virtual_destructor_v<Elements>);
static_assert(std::has_virtual_destructor_v<Elements::Iterator>);
static_assert(std::has_virtual_destructor_v<Elements::IteratorImplementation>);
static_assert(std::is_nothrow_move_constructible_v<Elements::Iterator>);
static_assert(!std::is_copy_constructible_v<Elements::Iterator>);
static_assert(sizeof(Elements::Iterator) == 2 * sizeof(void*));

TEST(MapTest, Keys_areInByteOrder)
{
    utils::Map<std::string, std::string> map;
    map.set("b", "1");
    map.set("a", "2");
    map.set("B", "3");
    EXPECT_THAT(std::vector(map.begin(), map.end()), ElementsAre(Pair("B", "3"), Pair("a", "2"), Pair("b", "1")));
}

TEST(MapTest, Set_replaces_andFindInsertsNothing)
{
    utils::Map<std::string, int> map;
    map.set("a", 1);
    map.set("a", 2);
    EXPECT_THAT(map.find("a"), testing::Pointee(2));
    EXPECT_TRUE(map.contains("a"));
    EXPECT_THAT(map.find("b"), IsNull());
    EXPECT_FALSE(map.contains("b"));
    EXPECT_EQ(map.size(), 1U);
}

TEST(MapTest, DestroyedMap_leavesTheObjects)
{
    int deletions = 0;
    Element element(&deletions);
    {
        utils::Map<int, Element*> map;
        utils::SafeMap<int, Element*> safeMap;
        map.set(1, &element);
        safeMap.set(1, &element);
    }
    EXPECT_EQ(deletions, 0);
}

TEST(SafeMapTest, Get_unknownKey_insertsFalseOrNull)
{
    Flags flags;
    EXPECT_FALSE(flags.contains("a"));
    EXPECT_FALSE(flags.get("a"));
    EXPECT_TRUE(flags.contains("a"));
    flags.set("a", true);
    EXPECT_TRUE(flags.get("a"));
    flags.set("a", false);
    EXPECT_FALSE(flags.get("a"));
    flags.set("b", true);
    EXPECT_TRUE(flags.get("b"));
    utils::SafeMap<std::string, Element*> map;
    EXPECT_THAT(map.get("a"), IsNull());
}

TEST(SafeMapTest, EachOperation_locksOnce)
{
    const std::uint32_t balance = support::locksTaken() - support::locksReleased();
    auto flags = std::make_unique<Flags>();
    EXPECT_EQ(locksTakenBy([&] { flags->contains("a"); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { flags->get("a"); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { flags->set("a", true); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { flags.reset(); }), 1U);
    EXPECT_EQ(support::locksTaken() - support::locksReleased(), balance);
}

TEST(SafeMapTest, UnsharedExchange_takesNoLock)
{
    utils::SafeMap<std::string, int*> map;
    int one = 1;
    int two = 2;
    EXPECT_EQ(locksTakenBy([&] {
                  EXPECT_THAT(map.exchangeUnshared("a", &one), IsNull());
                  EXPECT_EQ(map.exchangeUnshared("a", &two), &one);
              }),
              0U);
    EXPECT_EQ(map.get("a"), &two);
}

TEST(SafeMapTest, Threads_mayUseOneMap)
{
    utils::SafeMap<int, int> map;
    support::runTogether(4, [&](int thread) {
        for (int i = 0; i < 100; ++i) {
            map.set(100 * thread + i, i);
            EXPECT_EQ(map.get(100 * thread + i), i);
        }
    });
    for (int key = 0; key < 400; ++key) {
        EXPECT_TRUE(map.contains(key));
    }
}

class SafeListTest : public testing::Test
{
protected:
    Element m_first;
    Element m_second;
    Element m_third;
    Elements m_list;
};

TEST_F(SafeListTest, Elements_areInTheOrderOfAppending)
{
    EXPECT_THAT(m_list.getIterator().first(), IsNull());
    EXPECT_THAT(m_list.getIterator().next(), IsNull());
    EXPECT_EQ(m_list.size(), 0U);
    m_list.append(&m_first);
    m_list.append(&m_second);
    m_list.append(&m_first);
    EXPECT_EQ(m_list.size(), 3U);
    Elements::Iterator iterator = m_list.getIterator();
    EXPECT_EQ(iterator.next(), &m_first);
    EXPECT_EQ(iterator.next(), &m_second);
    EXPECT_EQ(iterator.next(), &m_first);
    EXPECT_THAT(iterator.next(), IsNull());
    EXPECT_THAT(iterator.next(), IsNull());
    EXPECT_EQ(iterator.first(), &m_first) << "goes back";
    EXPECT_EQ(iterator.next(), &m_second);
    EXPECT_EQ(iterator.first(), &m_first) << "from the middle too";
}

TEST_F(SafeListTest, Iterator_seesElementsOfOtherThreads)
{
    m_list.append(&m_first);
    Elements::Iterator iterator = m_list.getIterator();
    EXPECT_EQ(iterator.next(), &m_first);
    std::thread([&] { m_list.append(&m_second); }).join();
    EXPECT_EQ(iterator.next(), &m_second);
    EXPECT_THAT(iterator.next(), IsNull());
    m_list.append(&m_third);
    EXPECT_EQ(iterator.next(), &m_third) << "after the end too";
}

TEST_F(SafeListTest, Lock_isHeldForEachStepOnly)
{
    const std::uint32_t balance = support::locksTaken() - support::locksReleased();
    EXPECT_EQ(locksTakenBy([&] { m_list.append(&m_first); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { m_list.size(); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { m_list.getIterator(); }), 1U);
    Elements::Iterator iterator = m_list.getIterator();
    EXPECT_EQ(locksTakenBy([&] { iterator.next(); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { iterator.next(); }), 1U);
    EXPECT_EQ(locksTakenBy([&] { iterator.first(); }), 1U);
    // The second lock is that of the new list's end.
    EXPECT_EQ(locksTakenBy([&] { std::make_unique<Elements>(m_list); }), 2U);
    EXPECT_EQ(locksTakenBy([&] { std::make_unique<Elements>(std::move(m_list)); }), 2U);
    EXPECT_EQ(locksTakenBy([&] { m_list.clear(); }), 1U);  // NOLINT(bugprone-use-after-move): an empty list
    auto list = std::make_unique<Elements>();
    EXPECT_EQ(locksTakenBy([&] { list.reset(); }), 1U);
    EXPECT_EQ(support::locksTaken() - support::locksReleased(), balance);
}

TEST_F(SafeListTest, UnsharedAppend_takesNoLock)
{
    EXPECT_EQ(locksTakenBy([&] { m_list.appendUnshared(&m_first); }), 0U);
    EXPECT_EQ(m_list.size(), 1U);
    EXPECT_EQ(m_list.getIterator().next(), &m_first);
}

TEST_F(SafeListTest, Elements_areDeletedOnlyIfOwned)
{
    int deletions = 0;
    Element element(&deletions);
    {
        Elements list;
        list.append(&element);
        list.clear();
        EXPECT_EQ(list.size(), 0U);
        list.append(&element);
    }
    EXPECT_EQ(deletions, 0);
    {
        Elements list;
        list.setOwnsElements(true);
        list.append(new Element(&deletions));
        list.append(new Element(&deletions));
        list.clear();
        EXPECT_EQ(deletions, 2);
        EXPECT_EQ(list.size(), 0U);
        list.append(new Element(&deletions));
    }
    EXPECT_EQ(deletions, 3);
}

TEST_F(SafeListTest, Copy_hasTheElements_andNeverOwnsThem)
{
    int deletions = 0;
    m_list.setOwnsElements(true);
    auto* const element = new Element(&deletions);
    m_list.append(element);
    {
        Elements copy(m_list);
        EXPECT_EQ(copy.size(), 1U);
        EXPECT_EQ(copy.getIterator().next(), element);
        copy.append(&m_first);
    }
    EXPECT_EQ(deletions, 0);
    EXPECT_EQ(m_list.size(), 1U);
    m_list.clear();
    EXPECT_EQ(deletions, 1);
}

TEST_F(SafeListTest, Move_takesElementsAndOwnership)
{
    int deletions = 0;
    m_list.setOwnsElements(true);
    m_list.append(new Element(&deletions));
    {
        Elements moved(std::move(m_list));
        EXPECT_EQ(moved.size(), 1U);
        EXPECT_EQ(m_list.size(), 0U);  // NOLINT(bugprone-use-after-move): what is left behind is the point
    }
    EXPECT_EQ(deletions, 1);
    m_list.append(&m_first);
    m_list.clear();
}

TEST_F(SafeListTest, Copy_hasItsOwnMutex)
{
    auto list = std::make_unique<Elements>();
    list->append(&m_first);
    Elements copy(*list);
    Elements moved(std::move(*list));
    list.reset();
    copy.append(&m_second);
    moved.append(&m_third);
    EXPECT_EQ(copy.size(), 2U);
    EXPECT_EQ(moved.size(), 2U);
}

TEST_F(SafeListTest, Threads_mayAppendAndIterateAtOnce)
{
    support::runTogether(4, [&](int /*thread*/) {
        for (int i = 0; i < 50; ++i) {
            m_list.append(&m_first);
            Elements::Iterator iterator = m_list.getIterator();
            EXPECT_EQ(iterator.first(), &m_first);
            iterator.next();
        }
    });
    EXPECT_EQ(m_list.size(), 200U);
}

// The list inside a SafeList is private, but an explicit instantiation may name it. Tests need this access to make a
// full list.
template <std::list<Element*> Elements::*MEMBER>
struct Exposed
{
    friend std::list<Element*>& elementsOf(Elements& list) { return list.*MEMBER; }
};

std::list<Element*>& elementsOf(Elements& list);
template struct Exposed<&Elements::m_elements>;

TEST_F(SafeListTest, Append_toAFullList_isRefused)
{
    m_list.append(&m_first);
    std::list<Element*>& elements = elementsOf(m_list);
    // A list stores its size after its two links.
    std::size_t& size = reinterpret_cast<std::size_t*>(&elements)[2];
    ASSERT_EQ(size, elements.size());
    size = elements.max_size();
    EXPECT_EQ(support::thrownBy<std::length_error>([&] { m_list.append(&m_second); }), "list<T> too long");
    EXPECT_EQ(elements.size(), elements.max_size());
    size = 1;
    EXPECT_EQ(*elements.begin(), &m_first);
    m_list.append(&m_second);
    EXPECT_EQ(m_list.size(), 2U);
}

TEST_F(SafeListTest, MovedIterator_goesOnWhereItStood)
{
    m_list.append(&m_first);
    Elements::Iterator iterator = m_list.getIterator();
    Elements::Iterator moved = std::move(iterator);
    EXPECT_EQ(moved.next(), &m_first);
    // NOLINTNEXTLINE(bugprone-use-after-move): the point of the test
    EXPECT_EQ(support::assertionOf([&] { iterator.next(); }), "Utils/Containers:147: implementation != NULL");
    EXPECT_EQ(support::assertionOf([&] { iterator.first(); }), "Utils/Containers:156: implementation != NULL");
}

TEST(IteratorTest, End_deletesTheImplementation)
{
    class Implementation : public Elements::SimpleIteratorImplementation
    {
    public:
        explicit Implementation(bool* deleted) : SimpleIteratorImplementation(nullptr), m_deleted(deleted) {}
        ~Implementation() override { *m_deleted = true; }

    private:
        bool* m_deleted;
    };

    bool deleted = false;
    {
        const Elements::Iterator iterator(new Implementation(&deleted));
        EXPECT_FALSE(deleted);
    }
    EXPECT_TRUE(deleted);
}

TEST_F(SafeListTest, Clone_startsAtTheFirstElement)
{
    m_list.append(&m_first);
    m_list.append(&m_second);
    Elements::SimpleIteratorImplementation iterator(&m_list);
    EXPECT_EQ(iterator.next(), &m_first);
    const std::unique_ptr<Elements::IteratorImplementation> clone(iterator.clone());
    EXPECT_EQ(clone->next(), &m_first);
    EXPECT_EQ(locksTakenBy([&] { EXPECT_EQ(iterator.size(), 2U); }), 1U) << "the whole list counts";
    EXPECT_EQ(locksTakenBy([&] { EXPECT_EQ(iterator.advance(), &m_second); }), 0U);
    EXPECT_EQ(locksTakenBy([&] { EXPECT_THAT(iterator.advance(), IsNull()); }), 0U);
}

TEST(NullListTest, NullList_hasNoElements)
{
    Elements::SimpleIteratorImplementation iterator(nullptr);
    EXPECT_THAT(iterator.next(), IsNull());
    EXPECT_THAT(iterator.first(), IsNull());
    EXPECT_THAT(iterator.advance(), IsNull());
    EXPECT_EQ(iterator.size(), 0U);
    const std::unique_ptr<Elements::IteratorImplementation> clone(iterator.clone());
    EXPECT_THAT(clone->next(), IsNull());
}

// A destructor occupies two entries. The entry of the next function shows that it is there.
TEST(ContainersTest, VirtualFunctions_areInTheDeclaredOrder)
{
    using Implementation = Elements::IteratorImplementation;
    EXPECT_THAT(support::slotsOf(&Implementation::next, &Implementation::first, &Implementation::size,
                                 &Implementation::clone, &Implementation::advance),
                ElementsAre(0, 1, 2, 5, 6));
    EXPECT_EQ(support::slotOf(&Elements::Iterator::first), 0U);
    EXPECT_EQ(support::slotOf(&Elements::getIterator), 2U);
}

}  // namespace
