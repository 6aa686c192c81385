#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct NamedByte {
    std::uint8_t value = 0;
    std::string name;
};

// Gives every byte that goes over the line in an update a name of its own, which does not depend on
// the moments at which things happen:
//   tool:version#2:3   the third byte (from 0) of the second version request
//   tool:block#4:1027  a byte of the fourth block that was sent, repeated ones included
//   mcu:version#2:3    the third byte (from 0) that came from the MCUs after that request
// Requests are stop-upload, start-upload, hardware, version, state, set-to-boot and update; there
// are also block, EOT, CAN and, for anything else, other. What follows a stop-upload, a
// start-upload or a CAN from the MCUs still counts for the request before it.
class LineNames {
  public:
    // Bytes that the tool wrote: those whose request or block is complete.
    std::vector<NamedByte> fromTool(const std::vector<std::uint8_t>& bytes);
    std::string fromMcu();

    // The requests and blocks so far, without those that follow no question of the tool's.
    const std::vector<std::string>& questions() const { return m_questions; }
    // Whether the last question was a block or an EOT, or the permission to send them.
    bool inTransfer() const;
    // Forgets an unfinished request: its sender is gone.
    void forgetUnfinished() { m_unfinished.clear(); }

  private:
    std::string kindOfFirst() const;
    void name(std::vector<NamedByte>& named, std::size_t length, const std::string& kind);

    std::vector<std::uint8_t> m_unfinished;
    std::map<std::string, int> m_counts;
    std::vector<std::string> m_questions;
    int m_answerBytes = 0;
};
