// The update configuration. Input: the file.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>

#include "app/EntryPreparation.h"
#include "app/MCUUpdateTool.h"
#include "app/UpdateConfig.h"
#include "technic/SafePointer.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "tests/fuzz/support/Files.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/XmlOracle.h"
#include "xmlconfig/XmlConfigureItem.h"
#include "xmlconfig/XmlConfigureNode.h"
#include "xmlconfig/XmlConfigureTool.h"

namespace {

constexpr int kLevels = 3;
constexpr char kConfig[] = "/tmp/update.xml";
constexpr char kPrefix[] = "/tmp/firmware-";

// Some firmware to find at positions in the configuration.
bool writeFirmware() {
    std::string bytes;
    for (int i = 0; i < 64; ++i) {
        bytes += static_cast<char>(i * 5);
    }
    writeFile(kPrefix + std::string("arm1.bin"), bytes);
    writeFile(kPrefix + std::string("arm2.bin"), bytes.substr(0, 3));
    writeFile(kPrefix + std::string("empty.bin"), "");
    return true;
}

bool isDecimal(const std::string& text) {
    for (const char digit : text) {
        if (std::isdigit(static_cast<unsigned char>(digit)) == 0) {
            return false;
        }
    }
    return true;
}

void prepare(const UpdateFileEntry& entry) {
    const std::optional<PreparedEntry> prepared = prepareEntry(entry, kPrefix);
    if (!prepared) {
        return;
    }
    const int length = entry.hardwareInfoLength;
    require(prepared->fileHardware.size() == static_cast<std::size_t>(length > 0 ? length : 0) * 2,
            "hardware information has the length that is configured");
    require(prepared->fileVersion.size() >= 3 && prepared->fileVersion.size() <= 9 &&
                isDecimal(prepared->fileVersion),
            "a version is three numbers up to 255");
}

// Whether the configuration was taken.
bool readEntries() {
    UpdateConfig config;
    config.param.deviceName = "before";
    if (!readUpdateConfig(kConfig, config)) {
        require(config.param.deviceName == "before" && config.entries.empty(),
                "a refused configuration leaves everything as it was");
        return false;
    }
    require(!config.entries.empty(), "a list without an entry is refused");
    for (const UpdateFileEntry& entry : config.entries) {
        prepare(entry);
    }
    return true;
}

bool loadTool() {
    MCUUpdateTool tool;
    tool.setConfigFile(kConfig);
    tool.setUpdateFilePath(kPrefix);
    return tool.loadConfig();
}

// Whatever a value is read as, it is there or not.
template <class Element>
void readValues(const Element& element) {
    for (const char* key : {"name", "BaudRate", "armType", "ForceUpdate"}) {
        std::string text;
        std::int32_t number = 0;
        std::uint64_t largeNumber = 0;
        bool flag = false;
        const bool isThere = element.getString(key, text);
        require(element.getInt(key, number) == isThere &&
                    element.getUInt64(key, largeNumber) == isThere &&
                    element.getBool(key, flag) == isThere,
                "a value can be read in every way");
    }
}

// Every section down to the third level, and every item of it.
template <class Parent>
void readSections(const Parent& parent, int level) {
    for (const char* name : {"UpdateParam", "UpdateFileList"}) {
        SafePointer<XmlConfigureNode> node(new (KD_HERE) XmlConfigureNode);
        if (level == 0 || !parent.getNode(name, node)) {
            continue;
        }
        readValues(*node);
        std::list<SafePointer<XmlConfigureItem>> items;
        require(node->getItems(items) != items.empty(), "a list that is there has an item");
        for (const SafePointer<XmlConfigureItem>& item : items) {
            readValues(*item);
        }
        readSections(*node, level - 1);
    }
}

// As a program loads it that goes on to save it. What was saved can be loaded, unless it was made
// of what the parser takes and does not print as it took it.
void saveAgain(int encoding) {
    XmlConfigureTool tool;
    if (tool.load(kConfig, encoding, XmlConfigureTool::kModeReadWrite)) {
        readSections(tool, kLevels);
        require(tool.save() && !tool.isLoaded(), "what was loaded can be saved");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const bool kIsReady = writeFirmware();
    const LittleTime limit;
    const std::string text(data, data + size);
    require(kIsReady, "there is firmware");
    writeFile(kConfig, text);
    requireXmlLimits(text);
    require(loadTool() == readEntries(), "the tool takes what its configuration says");
    saveAgain(XmlConfigureTool::kEncodingUtf8);
    writeFile(kConfig, text);
    saveAgain(0);
    return 0;
}
