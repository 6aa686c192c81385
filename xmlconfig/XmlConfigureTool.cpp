#include "xmlconfig/XmlConfigureTool.h"

#include "xmlconfig/XmlConfigureNames.h"
#include "xmlconfig/XmlFile.h"

bool XmlConfigureTool::takeText(const std::string& path, int mode, std::string& text) const {
    if (mode == kModeCreate) {
        text = MemXmlConfigureTool::newDocument(m_strName);
        return true;
    }
    return XmlFile::read(path, text);
}

bool XmlConfigureTool::load(const std::string& path, int encoding, int mode) {
    m_bLoaded = false;
    std::string text;
    if (!takeText(path, mode, text) || !m_document.parse(text, encoding)) {
        return false;
    }
    m_bLoaded = true;
    m_nEncoding = encoding;
    m_nMode = mode;
    m_strPath = path;
    return XmlFile::readString(m_document.getRoot(), xml_configure_names::kName, m_strName);
}

bool XmlConfigureTool::getNode(const std::string& name, SafePointer<XmlConfigureNode>& node) const {
    return m_bLoaded && getXmlNode(&m_document, m_document.getRoot(), name, node);
}

bool XmlConfigureTool::save() {
    const bool toBeSaved = m_bLoaded && (m_nMode == kModeReadWrite || m_nMode == kModeCreate);
    if (toBeSaved && !XmlFile::write(m_strPath, m_document.print())) {
        return false;
    }
    m_bLoaded = false;
    return true;
}
