#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <list>
#include <string>

#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "tests/xmlconfig/TemporaryFolder.h"
#include "xmlconfig/XmlConfigureTool.h"

inline SafePointer<XmlConfigureNode> noNode() {
    return {new (KD_HERE) XmlConfigureNode};
}

// A tool that loads texts as files.
class Loaded {
  public:
    Loaded() = default;
    explicit Loaded(const std::string& text) { EXPECT_TRUE(load(text)); }

    bool load(const std::string& text, int encoding = XmlConfigureTool::kEncodingUtf8,
              int mode = XmlConfigureTool::kModeRead) {
        return m_tool.load(m_folder.write("config.xml", text), encoding, mode);
    }

    XmlConfigureTool& tool() { return m_tool; }
    TemporaryFolder& folder() { return m_folder; }

    SafePointer<XmlConfigureNode> node(const std::string& name) {
        SafePointer<XmlConfigureNode> found = noNode();
        EXPECT_TRUE(m_tool.getNode(name, found)) << name;
        return found;
    }
    bool has(const std::string& name) {
        SafePointer<XmlConfigureNode> found = noNode();
        return m_tool.getNode(name, found);
    }

  private:
    TemporaryFolder m_folder;
    XmlConfigureTool m_tool;
};

// A document of one section "S" with these attributes and children.
inline std::string section(const std::string& attributes, const std::string& children = "") {
    return "<Configure name=\"Doc\"><Configure name=\"S\" " + attributes + ">" + children +
           "</Configure></Configure>";
}

// Only a failed read of a 32-bit integer touches its target.
template <class Element>
void expectEveryReadFails(const Element& element) {
    std::string text = "before";
    std::int32_t number = 7;
    std::uint64_t large = 7;
    bool flag = true;
    EXPECT_FALSE(element.getString("a", text));
    EXPECT_FALSE(element.getInt("a", number));
    EXPECT_FALSE(element.getUInt64("a", large));
    EXPECT_FALSE(element.getBool("a", flag));
    EXPECT_EQ(text, "before");
    EXPECT_EQ(number, 0);
    EXPECT_EQ(large, 7U);
    EXPECT_TRUE(flag);
}
