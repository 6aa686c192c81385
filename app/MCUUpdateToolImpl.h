#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "app/PreparedEntry.h"
#include "app/UpdateParam.h"

class MCUUpdater;
class ResultList;

// What stands behind MCUUpdateTool; see there.
class MCUUpdateToolImpl {
  public:
    void setConfigFile(const std::string& path) { m_configFile = path; }
    void setUpdateFilePath(const std::string& path) { m_updateFilePath = path; }
    void setTimeout(int seconds) { m_timeout = seconds; }

    bool loadConfig();
    bool updateAll();
    bool rebootMCU();
    bool resetMCU();

  private:
    void updateEntry(const PreparedEntry& entry, ResultList& results) const;
    void configure(MCUUpdater& updater, const PreparedEntry& entry) const;
    bool sendSingleCommand(int requestId) const;

    std::string m_configFile;
    std::string m_updateFilePath;
    std::int32_t m_timeout = 0;
    UpdateParam m_param;
    std::vector<PreparedEntry> m_entries;
};
