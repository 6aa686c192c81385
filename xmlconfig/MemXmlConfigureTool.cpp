#include "xmlconfig/MemXmlConfigureTool.h"

#include <tinyxml.h>

#include <new>

#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "xmlconfig/XmlConfigureNames.h"
#include "xmlconfig/XmlLimits.h"

namespace {

constexpr char kVersion[] = "1.0";
constexpr char kEncoding[] = "utf-8";
constexpr char kStandalone[] = "no";

// A cut multi-byte character at the end makes the parser look up to three bytes beyond it.
constexpr std::size_t kPaddingBytes = 4;

std::string printed(const TiXmlDocument& document) {
    TiXmlPrinter printer;
    document.Accept(&printer);
    return printer.Str();
}

bool isConfiguration(const TiXmlElement* root) {
    return root != nullptr && root->ValueStr() == xml_configure_names::kConfigure &&
           root->Attribute(xml_configure_names::kName) != nullptr;
}

}  // namespace

MemXmlConfigureTool::MemXmlConfigureTool() = default;

MemXmlConfigureTool::~MemXmlConfigureTool() = default;

std::string MemXmlConfigureTool::newDocument(const std::string& name) {
    TiXmlElement root(xml_configure_names::kConfigure);
    root.SetAttribute(xml_configure_names::kName, name.c_str());
    TiXmlDocument document;
    document.InsertEndChild(TiXmlDeclaration(kVersion, kEncoding, kStandalone));
    document.InsertEndChild(root);
    return printed(document);
}

bool MemXmlConfigureTool::parse(const std::string& text, int encoding) {
    m_root = nullptr;
    m_document.reset();
    const bool utf8 = encoding == kUtf8;
    if (text.find('\0') != std::string::npos || !isWithinXmlLimits(text, utf8)) {
        return false;
    }
    try {
        std::unique_ptr<TiXmlDocument> document(new (KD_HERE) TiXmlDocument);
        // Nobody asks for rows and columns, and following them is what a crafted text can hang.
        document->SetTabSize(0);
        document->Parse((text + std::string(kPaddingBytes, '\0')).c_str(), nullptr,
                        utf8 ? TIXML_ENCODING_UTF8 : TIXML_ENCODING_LEGACY);
        const TiXmlElement* root = document->FirstChildElement();
        if (document->Error() || !isConfiguration(root)) {
            return false;
        }
        m_document = std::move(document);
        m_root = root;
    } catch (const std::bad_alloc&) {
        return false;
    }
    m_encoding = encoding;
    return true;
}

std::string MemXmlConfigureTool::print() {
    if (m_document == nullptr) {
        return "";
    }
    declareUtf8();
    return printed(*m_document);
}

void MemXmlConfigureTool::declareUtf8() {
    for (TiXmlNode* node = m_document->FirstChild(); node != nullptr; node = node->NextSibling()) {
        const TiXmlDeclaration* old = node->ToDeclaration();
        if (old != nullptr) {
            const TiXmlDeclaration declaration(old->Version(), kEncoding, old->Standalone());
            (void)m_document->ReplaceChild(node, declaration);  // a node of this document
            return;
        }
    }
}
