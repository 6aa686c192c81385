#include "tests/e2e/UpdateConfigFile.h"

#include <algorithm>

#include "tests/e2e/FirmwareImage.h"

namespace {

void set(UpdateConfigFile::Attributes& attributes, const std::string& key,
         const std::string& value) {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const auto& attribute) { return attribute.first == key; });
    if (found == attributes.end()) {
        attributes.emplace_back(key, value);
    } else {
        found->second = value;
    }
}

void remove(UpdateConfigFile::Attributes& attributes, const std::string& key) {
    attributes.erase(std::remove_if(attributes.begin(), attributes.end(),
                                    [&](const auto& attribute) { return attribute.first == key; }),
                     attributes.end());
}

std::string text(const UpdateConfigFile::Attributes& attributes) {
    std::string result;
    for (const auto& [key, value] : attributes) {
        result += " " + key + "=\"" + value + "\"";
    }
    return result;
}

}  // namespace

UpdateConfigFile::UpdateConfigFile()
    : m_line{{"deviceName", "/dev/ttyS1"},
             {"BaudRate", "115200"},
             {"DataBits", "8"},
             {"StopBits", "0"},
             {"Parity", "0"}} {}

UpdateConfigFile& UpdateConfigFile::entry(int armType, const std::string& armName,
                                          const std::string& fileName, int hardwareLength,
                                          const Attributes& more) {
    Attributes attributes{{"armType", std::to_string(armType)},
                          {"armName", armName},
                          {"versionPosition", "10"},
                          {"hardwareInfoPosition", "0x20"},
                          {"fileName", fileName},
                          {"hardwareInfoLength", std::to_string(hardwareLength)}};
    for (const auto& [key, value] : more) {
        set(attributes, key, value);
    }
    m_entries.push_back(attributes);
    return *this;
}

UpdateConfigFile& UpdateConfigFile::lineSetting(const std::string& key, const std::string& value) {
    set(m_line, key, value);
    return *this;
}

UpdateConfigFile& UpdateConfigFile::without(const std::string& key) {
    remove(m_line, key);
    for (Attributes& entry : m_entries) {
        remove(entry, key);
    }
    return *this;
}

void UpdateConfigFile::writeTo(const std::filesystem::path& file) const {
    std::string document = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    document += "<Configure name=\"UpdateConfig\">\n";
    document += "  <Configure name=\"UpdateParam\"" + text(m_line) + "/>\n";
    document += "  <Configure name=\"UpdateFileList\">\n";
    for (const Attributes& entry : m_entries) {
        document += "    <ConfigItem" + text(entry) + "/>\n";
    }
    document += "  </Configure>\n</Configure>\n";
    writeText(file, document);
}
