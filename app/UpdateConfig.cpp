#include "app/UpdateConfig.h"

#include <list>
#include <utility>

#include "technic/SafePointer.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "xmlconfig/XmlConfigureItem.h"
#include "xmlconfig/XmlConfigureNode.h"
#include "xmlconfig/XmlConfigureTool.h"

namespace {

bool readParam(XmlConfigureTool& tool, UpdateParam& param) {
    SafePointer<XmlConfigureNode> node(new (KD_HERE) XmlConfigureNode);
    return tool.getNode("UpdateParam", node) && node->getString("deviceName", param.deviceName) &&
           node->getInt("BaudRate", param.BaudRate) && node->getInt("DataBits", param.DataBits) &&
           node->getInt("StopBits", param.StopBits) && node->getInt("Parity", param.Parity);
}

bool readEntry(const XmlConfigureItem& item, UpdateFileEntry& entry) {
    if (!item.getInt("armType", entry.armType) || !item.getString("armName", entry.armName) ||
        !item.getString("versionPosition", entry.versionPosition) ||
        !item.getString("hardwareInfoPosition", entry.hardwareInfoPosition) ||
        !item.getString("fileName", entry.fileName) ||
        !item.getInt("hardwareInfoLength", entry.hardwareInfoLength)) {
        return false;
    }
    // The rest may be missing and keeps its default then.
    (void)item.getString("hardwareInfoMask", entry.hardwareInfoMask);
    (void)item.getBool("ForceUpdate", entry.ForceUpdate);
    (void)item.getBool("HigherVersion", entry.HigherVersion);
    return true;
}

bool readEntries(XmlConfigureTool& tool, std::vector<UpdateFileEntry>& entries) {
    SafePointer<XmlConfigureNode> node(new (KD_HERE) XmlConfigureNode);
    std::list<SafePointer<XmlConfigureItem>> items;
    if (!tool.getNode("UpdateFileList", node) || !node->getItems(items)) {
        return false;
    }
    for (const SafePointer<XmlConfigureItem>& item : items) {
        UpdateFileEntry entry;
        if (!readEntry(*item, entry)) {
            return false;
        }
        entries.push_back(entry);
    }
    return true;
}

}  // namespace

bool readUpdateConfig(const std::string& path, UpdateConfig& config) {
    XmlConfigureTool tool;
    UpdateConfig read;
    if (!tool.load(path, XmlConfigureTool::kEncodingUtf8, XmlConfigureTool::kModeRead) ||
        !readParam(tool, read.param) || !readEntries(tool, read.entries)) {
        return false;
    }
    config = std::move(read);
    return true;
}
