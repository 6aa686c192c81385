#include "app/MCUUpdateTool.h"

#include "app/MCUUpdateToolImpl.h"

MCUUpdateTool::MCUUpdateTool() : m_impl(std::make_unique<MCUUpdateToolImpl>()) {}

MCUUpdateTool::~MCUUpdateTool() = default;

void MCUUpdateTool::setConfigFile(const std::string& path) {
    m_impl->setConfigFile(path);
}

void MCUUpdateTool::setUpdateFilePath(const std::string& path) {
    m_impl->setUpdateFilePath(path);
}

void MCUUpdateTool::setTimeout(int seconds) {
    m_impl->setTimeout(seconds);
}

bool MCUUpdateTool::loadConfig() {
    return m_impl->loadConfig();
}

bool MCUUpdateTool::updateAll() {
    return m_impl->updateAll();
}

bool MCUUpdateTool::rebootMCU() {
    return m_impl->rebootMCU();
}

bool MCUUpdateTool::resetMCU() {
    return m_impl->resetMCU();
}
