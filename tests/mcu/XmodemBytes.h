#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/mcu/PseudoTerminal.h"

namespace xmodem {

constexpr unsigned char kStx = 0x02;
constexpr unsigned char kEot = 0x04;
constexpr unsigned char kAck = 0x06;
constexpr unsigned char kNak = 0x15;
constexpr unsigned char kCan = 0x18;
constexpr unsigned char kStart = 'C';
constexpr std::size_t kDataLength = 1024;
constexpr std::size_t kBlockLength = 1029;

// A block as it should stand on the wire; shorter data is filled with zeros.
Bytes block(int number, Bytes data);
// The blocks of a whole image, each `times` times.
Bytes blocks(const Bytes& image, int times = 1);
// `first` and then `second`.
Bytes operator+(Bytes first, const Bytes& second);

// `size` bytes of which no two neighbouring blocks are alike, with every byte value in them.
Bytes image(std::size_t size);

}  // namespace xmodem

// A file of the given bytes that is deleted with the object.
class ImageFile {
  public:
    explicit ImageFile(const Bytes& bytes, const std::string& name = "image.bin");
    ~ImageFile();
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;

    const std::string& path() const { return m_path; }

  private:
    std::filesystem::path m_folder;
    std::string m_path;
};
