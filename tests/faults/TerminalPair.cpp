#include "tests/faults/TerminalPair.h"

#include <fcntl.h>

#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;

TerminalPair::TerminalPair(fs::path link, fs::path directory)
    : m_link(std::move(link)), m_directory(std::move(directory)) {
    plug();
}

void TerminalPair::plug() {
    m_terminal = Endpoint::pseudoTerminal("");
    const fs::path slave = m_terminal->address();
    FileDescriptor kept(open(slave.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!kept.isOpen()) {
        throw std::runtime_error("a pseudo-terminal that cannot be opened: " + slave.string());
    }
    m_slaves.push_back(std::move(kept));
    const fs::path unseen = m_link.string() + ".new";
    fs::remove(unseen);
    fs::create_symlink(m_directory / slave.filename(), unseen);
    fs::rename(unseen, m_link);
}

void TerminalPair::unplug() {
    fs::remove(m_link);
    m_terminal.reset();
}
