#include "tests/app/ConfigText.h"

#include <algorithm>

Attributes completeParam() {
    return {{"name", "UpdateParam"}, {"deviceName", "/no/such/tty"},
            {"BaudRate", "115200"},  {"DataBits", "8"},
            {"StopBits", "0"},       {"Parity", "2"}};
}

Attributes completeEntry() {
    return {{"armType", "3"},
            {"armName", "ARM3"},
            {"versionPosition", "0x10"},
            {"hardwareInfoPosition", "20"},
            {"fileName", "arm3.bin"},
            {"hardwareInfoLength", "4"}};
}

Attributes without(Attributes attributes, const std::string& key) {
    attributes.erase(std::remove_if(attributes.begin(), attributes.end(),
                                    [&](const auto& attribute) { return attribute.first == key; }),
                     attributes.end());
    return attributes;
}

Attributes with(Attributes attributes, const std::string& key, const std::string& value) {
    attributes = without(std::move(attributes), key);
    attributes.emplace_back(key, value);
    return attributes;
}

std::string element(const std::string& name, const Attributes& attributes,
                    const std::string& children) {
    std::string text = "<" + name;
    for (const auto& [key, value] : attributes) {
        text += " " + key + "=\"" + value + "\"";
    }
    return text + ">" + children + "</" + name + ">\n";
}

std::string configText(const Attributes& param, const std::vector<Attributes>& entries) {
    std::string items;
    for (const Attributes& entry : entries) {
        items += element("ConfigItem", entry);
    }
    return element(
        "Configure", {{"name", "UpdateConfig"}},
        element("Configure", param) + element("Configure", {{"name", "UpdateFileList"}}, items));
}
