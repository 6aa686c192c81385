#include <gtest/gtest.h>

#include <list>
#include <string>

#include "tests/technic/FullPool.h"
#include "tests/xmlconfig/Loaded.h"

namespace {

using Items = std::list<SafePointer<XmlConfigureItem>>;

std::string document(const std::string& sections) {
    return "<Configure name=\"D\">" + sections + "</Configure>";
}

std::string idsOf(const Items& items) {
    std::string ids;
    for (const auto& item : items) {
        std::string id;
        EXPECT_TRUE(item->getString("id", id));
        ids += id;
    }
    return ids;
}

TEST(SectionLookup, FindsASectionByItsExactName) {
    Loaded loaded(document("<Configure name=\"A\" v=\"1\"/><Configure name=\"B\" v=\"2\"/>"));
    std::string value;
    EXPECT_TRUE(loaded.node("B")->getString("v", value));
    EXPECT_EQ(value, "2");
    EXPECT_FALSE(loaded.has("b"));
    EXPECT_FALSE(loaded.has("B "));
    EXPECT_FALSE(loaded.has(""));
}

TEST(SectionLookup, FindsNothingWhenNoHandleIsLeft) {
    Loaded loaded(document("<Configure name=\"A\"/>"));
    SafePointer<XmlConfigureNode> found = noNode();
    {
        const FullPool pool;
        EXPECT_FALSE(loaded.tool().getNode("A", found));
    }
    EXPECT_TRUE(loaded.tool().getNode("A", found));
}

TEST(SectionLookup, TakesTheFirstOfTwoSectionsOfOneName) {
    Loaded loaded(document("<Configure name=\"A\" v=\"1\"/><Configure name=\"A\" v=\"2\"/>"));
    std::string value;
    EXPECT_TRUE(loaded.node("A")->getString("v", value));
    EXPECT_EQ(value, "1");
}

TEST(SectionLookup, EndsAtASectionWithoutAName) {
    Loaded loaded(document("<Configure/><Configure name=\"A\"/><Configure name=\"B\"/>"));
    EXPECT_FALSE(loaded.has("A"));
    EXPECT_FALSE(loaded.has("B"));
}

TEST(SectionLookup, EndsAtAFollowingElementOfAnotherKindWithoutAName) {
    Loaded loaded(document("<Configure name=\"A\"/><Other/><Configure name=\"B\"/>"));
    EXPECT_TRUE(loaded.has("A"));
    EXPECT_FALSE(loaded.has("B"));
}

TEST(SectionLookup, TakesAFollowingElementOfAnotherKindWithTheName) {
    Loaded loaded(document("<Configure name=\"A\"/><Other name=\"B\" v=\"2\"/>"));
    std::string value;
    EXPECT_TRUE(loaded.node("B")->getString("v", value));
    EXPECT_EQ(value, "2");
}

TEST(SectionLookup, PassesOverWhatIsNoElement) {
    Loaded loaded(
        document(" <!-- c --> text <Configure name=\"A\"/><!-- c -->text"
                 "<![CDATA[<Configure/>]]><Configure name=\"B\"/>"));
    EXPECT_TRUE(loaded.has("A"));
    EXPECT_TRUE(loaded.has("B"));
}

TEST(SectionLookup, BeginsAtTheFirstConfigureElement) {
    Loaded loaded(document("<Other/><Configure name=\"A\"/>"));
    EXPECT_TRUE(loaded.has("A"));
    EXPECT_FALSE(loaded.has("Other"));
}

TEST(SectionLookup, FailsWithoutAnySection) {
    Loaded loaded(document(""));
    EXPECT_FALSE(loaded.has("A"));
}

TEST(SectionLookup, LeavesTheNodeOfAFailedSearchAsItIs) {
    Loaded loaded(document("<Configure name=\"A\" v=\"1\"/>"));
    SafePointer<XmlConfigureNode> node = loaded.node("A");
    EXPECT_FALSE(loaded.tool().getNode("B", node));
    std::string value;
    EXPECT_TRUE(node->getString("v", value));
}

TEST(SectionLookup, FindsSubSectionsOfASection) {
    Loaded loaded(document("<Configure name=\"A\"><Configure name=\"Sub\" v=\"3\"/></Configure>"));
    SafePointer<XmlConfigureNode> sub = noNode();
    EXPECT_TRUE(loaded.node("A")->getNode("Sub", sub));
    std::string value;
    EXPECT_TRUE(sub->getString("v", value));
    EXPECT_EQ(value, "3");
    EXPECT_FALSE(loaded.has("Sub"));
}

TEST(SectionLookup, BelowASectionEndsAtASectionWithoutAName) {
    Loaded loaded(
        document("<Configure name=\"A\"><Configure name=\"B\"/><Configure/>"
                 "<Configure name=\"C\"/></Configure>"));
    SafePointer<XmlConfigureNode> sub = noNode();
    EXPECT_TRUE(loaded.node("A")->getNode("B", sub));
    EXPECT_FALSE(loaded.node("A")->getNode("C", sub));
    EXPECT_FALSE(loaded.node("A")->getNode("A", sub));
}

TEST(SectionLookup, FailsWhenNothingIsLoaded) {
    const XmlConfigureTool tool;
    SafePointer<XmlConfigureNode> node = noNode();
    EXPECT_FALSE(tool.getNode("A", node));
}

TEST(ItemList, KeepsDocumentOrder) {
    Loaded loaded(
        section("", "<ConfigItem id=\"1\"/><ConfigItem id=\"2\"/><ConfigItem id=\"3\"/>"));
    Items items;
    EXPECT_TRUE(loaded.node("S")->getItems(items));
    EXPECT_EQ(idsOf(items), "123");
}

TEST(ItemList, FailsWithoutAConfigItem) {
    Loaded loaded(section("", "<Item id=\"1\"/>"));
    Items items;
    EXPECT_FALSE(loaded.node("S")->getItems(items));
    EXPECT_TRUE(items.empty());
}

TEST(ItemList, LeavesCommentsAndTextsOut) {
    Loaded loaded(section("",
                          "<!-- the files --><ConfigItem id=\"1\"/><!-- c -->text"
                          "<ConfigItem id=\"2\"/>"));
    Items items;
    EXPECT_TRUE(loaded.node("S")->getItems(items));
    EXPECT_EQ(idsOf(items), "12");
}

TEST(ItemList, LeavesElementsBelowAnItemOut) {
    Loaded loaded(section("", "<ConfigItem id=\"1\"><ConfigItem id=\"2\"/></ConfigItem>"));
    Items items;
    EXPECT_TRUE(loaded.node("S")->getItems(items));
    EXPECT_EQ(idsOf(items), "1");
}

TEST(ItemList, FailsWithConfigItemsOnlyBelowOtherElements) {
    Loaded loaded(section("", "<Other><ConfigItem id=\"1\"/></Other>"));
    Items items;
    EXPECT_FALSE(loaded.node("S")->getItems(items));
}

TEST(ItemList, TakesFollowingElementsOfAnyNameAndNoneBefore) {
    Loaded loaded(section("", "<X id=\"0\"/><ConfigItem id=\"1\"/><Y id=\"2\"/>"));
    Items items;
    EXPECT_TRUE(loaded.node("S")->getItems(items));
    EXPECT_EQ(idsOf(items), "12");
}

TEST(ItemList, IsAppendedToWhatTheListHolds) {
    Loaded loaded(
        document("<Configure name=\"A\"><ConfigItem id=\"1\"/></Configure>"
                 "<Configure name=\"B\"><ConfigItem id=\"2\"/></Configure>"));
    Items items;
    EXPECT_TRUE(loaded.node("A")->getItems(items));
    EXPECT_TRUE(loaded.node("B")->getItems(items));
    EXPECT_EQ(idsOf(items), "12");
}

TEST(ItemList, FailsWhenThereAreMoreItemsThanHandles) {
    std::string children;
    for (int i = 0; i < 21000; ++i) {
        children += "<ConfigItem/>";
    }
    Loaded loaded(section("", children));
    Items items;
    EXPECT_FALSE(loaded.node("S")->getItems(items));
    EXPECT_TRUE(items.empty());
    EXPECT_TRUE(loaded.has("S"));
}

TEST(Placeholder, NodeFailsEveryOperation) {
    const XmlConfigureNode node;
    SafePointer<XmlConfigureNode> sub = noNode();
    Items items;
    EXPECT_FALSE(node.getNode("A", sub));
    EXPECT_FALSE(node.getItems(items));
    expectEveryReadFails(node);
}

TEST(Placeholder, ItemFailsEveryRead) {
    expectEveryReadFails(XmlConfigureItem());
}

}  // namespace
