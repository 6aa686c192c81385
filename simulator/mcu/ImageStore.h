#pragma once

#include <string>

#include "simulator/mcu/Bytes.h"

// The image in an MCU's flash: in memory, and in the file NAME.bin of the store's directory when
// there is one.
class ImageStore {
  public:
    // directory: empty to keep images in memory only.
    ImageStore(const std::string& directory, const std::string& name);

    // Throws std::runtime_error when the file cannot be written.
    void save(const Bytes& image);
    // Takes an image that came from elsewhere, without writing it to the store.
    void adopt(const Bytes& image, const std::string& file);
    // There is no image any more, nor a file that save() wrote.
    void erase();

    // Where an image that is on its way may be put together; there must be a directory.
    std::string pathOfReception() const { return m_path + ".receiving"; }

    const Bytes& image() const { return m_image; }
    // The file that holds the image; empty when none does.
    const std::string& file() const { return m_file; }

  private:
    std::string m_path;
    std::string m_file;
    Bytes m_image;
};
