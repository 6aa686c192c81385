#pragma once

#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "tests/mcu/PseudoTerminal.h"

// An MCU of type 3 on the other end of a line, as far as the questions before a transfer go. It
// answers a question with the next of its answers, the last one again and again, and is silent to
// a question without any. A thread of its own from start() on.
class FakeMcu {
  public:
    // Requests, as they are on the line, in hexadecimal.
    static constexpr char kStopUpload[] = "fe050701000dff";
    static constexpr char kStartUpload[] = "fe050901000fff";
    static constexpr char kHardware[] = "fe060b010315ff";
    static constexpr char kVersion[] = "fe060101030bff";
    static constexpr char kState[] = "fe050101030aff";
    static constexpr char kSetToBoot[] = "fe050301030cff";
    static constexpr char kUpdate[] = "fe050501030eff";

    ~FakeMcu();

    void answer(const std::string& request, const std::vector<Bytes>& answers);
    void start();
    // Ends the thread; to be called when everything was sent. The requests in order, without the
    // stop-upload requests, which come at any time.
    std::vector<std::string> stop();
    // After stop().
    int stopUploadCount() const { return m_stopUploads; }

    const PseudoTerminal& line() const { return m_line; }

  private:
    void run();
    void take(unsigned char byte);
    void reply(const std::string& request);

    PseudoTerminal m_line;
    std::map<std::string, std::vector<Bytes>> m_answers;
    Bytes m_frame;
    std::vector<std::string> m_requests;
    int m_stopUploads = 0;
    std::atomic<bool> m_stopped{false};
    std::thread m_thread;
};
