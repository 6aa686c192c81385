#pragma once

#include <memory>
#include <string>

class TiXmlDocument;
class TiXmlElement;

// A configuration document in memory. One thread at a time.
class MemXmlConfigureTool {
  public:
    // The encoding number of UTF-8; every other number is the parser's legacy encoding.
    static constexpr int kUtf8 = 1;

    MemXmlConfigureTool();
    ~MemXmlConfigureTool();
    MemXmlConfigureTool(const MemXmlConfigureTool&) = delete;
    MemXmlConfigureTool& operator=(const MemXmlConfigureTool&) = delete;

    // The text of a new document that has nothing but its name.
    static std::string newDocument(const std::string& name);

    // Takes the place of the document held before, whose elements are gone. False, and no document
    // is held, when the text does not parse, holds a NUL, goes beyond the limits of XmlLimits.h, or
    // its root is not a "Configure" element with a "name".
    bool parse(const std::string& text, int encoding);

    // The root element, owned by this object; null when no document is held.
    const TiXmlElement* getRoot() const { return m_root; }
    // The encoding number given to the last successful parse; 0 before.
    int getEncoding() const { return m_encoding; }

    // The document as text, with a declaration (when it has one) that says "utf-8". Empty when no
    // document is held.
    std::string print();

  private:
    void declareUtf8();

    std::unique_ptr<TiXmlDocument> m_document;
    const TiXmlElement* m_root = nullptr;
    int m_encoding = 0;
};
