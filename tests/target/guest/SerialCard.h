#pragma once

#include <string>

// The card in the machine's bus that holds kPort.
class SerialCard {
  public:
    SerialCard();
    // Plugs it in again if it is not.
    ~SerialCard();
    SerialCard(const SerialCard&) = delete;
    SerialCard& operator=(const SerialCard&) = delete;

    // Takes the card away, whatever has its port open.
    void unplug();
    // Puts it back; its port is there again when the call returns.
    void plugIn();

  private:
    const std::string m_folder;
    bool m_isPlugged = true;
};
