#include "tests/app/FakeMcu.h"

#include <cstdio>

namespace {

constexpr std::size_t kLengthPosition = 3;
constexpr std::size_t kFrameBytesWithoutData = 6;

std::string hexadecimal(const Bytes& bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        char digits[3] = "";
        (void)std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

}  // namespace

FakeMcu::~FakeMcu() {
    (void)stop();
}

void FakeMcu::answer(const std::string& request, const std::vector<Bytes>& answers) {
    m_answers[request] = answers;
}

void FakeMcu::start() {
    m_thread = std::thread([this] { run(); });
}

std::vector<std::string> FakeMcu::stop() {
    m_stopped = true;
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return m_requests;
}

void FakeMcu::run() {
    for (;;) {
        const bool last = m_stopped;
        for (const unsigned char byte : m_line.received()) {
            take(byte);
        }
        if (last) {
            return;
        }
    }
}

void FakeMcu::take(unsigned char byte) {
    m_frame.push_back(byte);
    if (m_frame.size() <= kLengthPosition ||
        m_frame.size() < m_frame[kLengthPosition] + kFrameBytesWithoutData) {
        return;
    }
    reply(hexadecimal(m_frame));
    m_frame.clear();
}

void FakeMcu::reply(const std::string& request) {
    if (request == kStopUpload) {
        ++m_stopUploads;
    } else {
        m_requests.push_back(request);
    }
    std::vector<Bytes>& answers = m_answers[request];
    if (answers.empty()) {
        return;
    }
    m_line.send(answers.front());
    if (answers.size() > 1) {
        answers.erase(answers.begin());
    }
}
