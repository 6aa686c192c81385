#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

// An update configuration as a test writes it. Attributes are kept as pairs, so that a test can
// change or leave out any of them.
class UpdateConfigFile {
  public:
    using Attributes = std::vector<std::pair<std::string, std::string>>;

    // The line's section with the settings of these tests and no entries.
    UpdateConfigFile();

    // An entry for the image `fileName` of the MCU `armType`, with the positions of FirmwareImage
    // and `hardwareLength` bytes of hardware information; `more` replaces or adds attributes.
    UpdateConfigFile& entry(int armType, const std::string& armName, const std::string& fileName,
                            int hardwareLength, const Attributes& more = {});
    UpdateConfigFile& lineSetting(const std::string& key, const std::string& value);
    UpdateConfigFile& without(const std::string& key);

    void writeTo(const std::filesystem::path& file) const;

  private:
    Attributes m_line;
    std::vector<Attributes> m_entries;
};
