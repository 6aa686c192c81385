#pragma once

#include <string>

#include "technic/SafePointer.h"
#include "xmlconfig/MemXmlConfigureTool.h"
#include "xmlconfig/XmlConfigureNode.h"

// Loads, creates and saves a configuration document: a root element "Configure" with a "name",
// whose child elements "Configure" are its named sections. Nothing is logged. One thread at a time.
class XmlConfigureTool {
  public:
    // Values of `encoding` (any other number is the parser's legacy encoding).
    static constexpr int kEncodingUtf8 = MemXmlConfigureTool::kUtf8;
    // Values of `mode`: open an existing file for reading, for reading and saving later, or create
    // a document that is saved to the path later. Any other number opens like kModeRead.
    static constexpr int kModeRead = 1;
    static constexpr int kModeReadWrite = 2;
    static constexpr int kModeCreate = 3;

    // The name of the document that kModeCreate makes; a loaded document brings its own.
    void setName(const std::string& name) { m_strName = name; }
    const std::string& getName() const { return m_strName; }
    bool isLoaded() const { return m_bLoaded; }

    // Nodes and items of the document loaded before are no longer good. False, and nothing is
    // loaded, when the file cannot be read or parsed or its root is not as above.
    bool load(const std::string& path, int encoding, int mode);

    // The section of that name below the root; as XmlConfigureNode::getNode. False when nothing is
    // loaded.
    bool getNode(const std::string& name, SafePointer<XmlConfigureNode>& node) const;

    // Writes the document to its path when it was opened for saving; nothing is loaded afterwards.
    // False, and still loaded, when not every byte was written. True when there is nothing to save.
    bool save();
    // As save.
    bool close() { return save(); }

  private:
    bool takeText(const std::string& path, int mode, std::string& text) const;

    MemXmlConfigureTool m_document;
    bool m_bLoaded = false;
    int m_nEncoding = 0;
    int m_nMode = 0;
    std::string m_strPath;
    std::string m_strName;
};
