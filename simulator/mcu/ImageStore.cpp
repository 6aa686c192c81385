#include "simulator/mcu/ImageStore.h"

#include <unistd.h>

#include "simulator/mcu/AtomicFile.h"

ImageStore::ImageStore(const std::string& directory, const std::string& name)
    : m_path(directory.empty() ? "" : directory + "/" + name + ".bin") {}

void ImageStore::save(const Bytes& image) {
    if (!m_path.empty()) {
        replaceFile(m_path, image.data(), image.size());
    }
    m_image = image;
    m_file = m_path;
}

void ImageStore::adopt(const Bytes& image, const std::string& file) {
    m_image = image;
    m_file = file;
}

void ImageStore::erase() {
    if (!m_path.empty() && m_file == m_path) {
        (void)unlink(m_path.c_str());  // if it is gone already, so much the better
    }
    m_image.clear();
    m_file.clear();
}
