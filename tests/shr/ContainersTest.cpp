#include "shr/Array.h"
#include "shr/Exception.h"
#include "shr/Factory.h"
#include "shr/Flyweight.h"
#include "shr/SimpleUniqueStorage.h"
#include "shr/StringLess.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using shr::Exception;
using testsupport::RaisedText;

// ---- StringLess / StringEquivalent --------------------------------------

TEST(StringLessTest, OrdersIgnoringCaseBytewise)
{
    const struct {
        const char *a, *b;
        bool less, equivalent;
    } cases[] = {
        {"AverageAngle", "Averageangle", false, true}, {"abc", "ABD", true, false}, {"ABD", "abc", false, false},
        {"ab", "ABC", true, false}, // a prefix sorts first
        {"", "a", true, false},     {"", "", false, true},
        {"_", "a", true, false},       {"Z", "_", false, false},    // letters compare as lower case
        {"\xE9", "z", false, false},    {"\xC9", "\xE9", true, false}, // high bytes are unsigned, not case-folded
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        EXPECT_EQ(shr::StringLess()(c.a, c.b), c.less);
        EXPECT_EQ(shr::StringEquivalent()(c.a, c.b), c.equivalent);
    }
}

// ---- SimpleUniqueStorage --------------------------------------------------

struct Item {
    int id;
    std::string name;
    int Id() const { return id; }
};

using ById = shr::SimpleUniqueStorage<Item*, int, std::less<int>, shr::KeyByMember<&Item::Id>>;

std::vector<int> Ids(const ById& storage)
{
    std::vector<int> ids;
    for (const Item* item : storage)
        ids.push_back(item->id);
    return ids;
}

TEST(SimpleUniqueStorageTest, InsertKeepsOrderRefusesEqualKeysFindsAndErases)
{
    std::vector<Item> items{{5, "e"}, {1, "a"}, {9, "i"}, {3, "c"}, {7, "g"}};
    ById storage;
    for (Item& item : items)
        EXPECT_TRUE(storage.Insert(&item));
    EXPECT_EQ(Ids(storage), (std::vector<int>{1, 3, 5, 7, 9}));

    Item duplicate{3, "other"};
    EXPECT_FALSE(storage.Insert(&duplicate));
    EXPECT_EQ(storage.size(), 5u);
    EXPECT_EQ(storage.Find(3)->name, "c");
    EXPECT_EQ(RaisedText([&] { storage.Insert(nullptr); }), "Shared: Invalid item insertion request in unique storage.");
    EXPECT_EQ(storage.size(), 5u);

    Item last{10, "j"}, first{0, "z"};
    EXPECT_TRUE(storage.Insert(&last));
    EXPECT_TRUE(storage.Insert(&first));
    EXPECT_EQ(Ids(storage), (std::vector<int>{0, 1, 3, 5, 7, 9, 10}));
    EXPECT_EQ(storage[2]->name, "c");

    const struct {
        int key;
        bool present;
    } lookups[] = {{-1, false}, {0, true}, {2, false}, {5, true}, {10, true}, {11, false}};
    for (const auto& l : lookups) {
        SCOPED_TRACE(l.key);
        Item probe{l.key, ""};
        EXPECT_EQ(storage.Find(l.key) != nullptr, l.present);
        EXPECT_EQ(storage.Contains(&probe), l.present);
    }

    EXPECT_EQ(storage.Erase(4), nullptr);
    EXPECT_EQ(storage.Erase(5), &items[0]);
    EXPECT_EQ(Ids(storage), (std::vector<int>{0, 1, 3, 7, 9, 10}));
    for (int key : {0, 1, 3, 7, 9, 10})
        EXPECT_NE(storage.Erase(key), nullptr) << key;
    EXPECT_TRUE(storage.empty());
    EXPECT_EQ(RaisedText([&] { storage.Contains(nullptr); }),
              "Shared: Invalid item retrieval request in unique storage.");
}

// ---- Flyweight, Factory --------------------------------------------------

TEST(FlyweightTest, NoneValueCannotBeStored)
{
    shr::Flyweight<std::string, int, shr::StringLess> store(-1);
    EXPECT_EQ(RaisedText([&] { store.Insert("a", -1); }), "Shared: Invalid flyweight argument.");
    EXPECT_TRUE(store.Insert("a", 1));
    EXPECT_FALSE(store.Insert("A", 2));
    EXPECT_EQ(store.Find("A"), 1);
    EXPECT_EQ(store.Find("b"), -1);
    EXPECT_FALSE(store.Erase("a", 2));
    EXPECT_TRUE(store.Erase("a", 1));
    EXPECT_TRUE(store.empty());
}

struct Shape {
    std::string name; // the key of the factory that made it
};

class ShapeFactory : public shr::Factory<ShapeFactory, Shape, std::string, shr::StringLess> {
public:
    explicit ShapeFactory(const std::string& key) : Factory(key, this), m_Key(key) {}

private:
    Shape* ConstructImpl() const override { return new Shape{m_Key}; }
    std::string m_Key;
};

TEST(FactoryTest, ConstructsByKeyAndUnregistersOnDestruction)
{
    const size_t before = ShapeFactory::size();
    {
        ShapeFactory circles("Circle"), squares("Square");
        EXPECT_EQ(ShapeFactory::size(), before + 2);
        EXPECT_EQ(ShapeFactory::Construct("SQUARE")->name, "Square");
        EXPECT_EQ(ShapeFactory::Construct("Triangle"), nullptr);
        EXPECT_FALSE(ShapeFactory::CanConstruct("Triangle"));
        EXPECT_EQ(&ShapeFactory::Get("circle"), &circles);
        EXPECT_EQ(RaisedText([] { ShapeFactory::Get("Triangle"); }), "Shared: Invalid factory key requested.");
        EXPECT_EQ(RaisedText([] { ShapeFactory again("square"); }), "Shared: Invalid factory initialization.");
        EXPECT_EQ(&ShapeFactory::Get("square"), &squares) << "the failed one left the first alone";
    }
    EXPECT_EQ(ShapeFactory::size(), before);
    EXPECT_FALSE(ShapeFactory::CanConstruct("circle"));
}

// ---- Array ----------------------------------------------------------------

TEST(ArrayTest, GrowsAndChecksIndices)
{
    shr::Array<double> values;
    EXPECT_EQ(values.Add(1.5), 0u);
    EXPECT_EQ(values.Add(2.5), 1u);
    values.Add(3.5);
    values.RemoveAt(1);
    EXPECT_EQ(values, (shr::Array<double>{1.5, 3.5}));
    EXPECT_THROW(values.At(2), Exception);
    EXPECT_THROW(values.RemoveAt(5), Exception);
}

} // namespace
