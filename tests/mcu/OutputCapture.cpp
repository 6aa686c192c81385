#include "tests/mcu/OutputCapture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

OutputCapture::OutputCapture(int standardFd)
    : m_standardFd(standardFd),
      m_originalFd(dup(standardFd)),
      m_captureFd(memfd_create("capture", MFD_CLOEXEC)) {
    (void)std::fflush(nullptr);
    (void)dup2(m_captureFd, m_standardFd);
}

OutputCapture::~OutputCapture() {
    (void)std::fflush(nullptr);
    (void)dup2(m_originalFd, m_standardFd);
    (void)close(m_originalFd);
    (void)close(m_captureFd);
}

std::string OutputCapture::text() const {
    (void)std::fflush(nullptr);
    std::string text(static_cast<std::size_t>(lseek(m_captureFd, 0, SEEK_END)), '\0');
    const ssize_t got = pread(m_captureFd, text.data(), text.size(), 0);
    text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
    return text;
}
