#include "tests/faults/LineNames.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace {

constexpr std::uint8_t kStart = 0xFE;
constexpr std::uint8_t kStx = 0x02;
constexpr std::uint8_t kEot = 0x04;
constexpr std::uint8_t kCan = 0x18;
constexpr std::size_t kRequestLength = 7;
constexpr std::size_t kBlockLength = 1029;

struct RequestRow {
    std::uint8_t group;
    std::uint8_t code;
    const char* name;
};

constexpr std::array<RequestRow, 7> kRequests{{{0x05, 0x07, "stop-upload"},
                                               {0x05, 0x09, "start-upload"},
                                               {0x06, 0x0B, "hardware"},
                                               {0x06, 0x01, "version"},
                                               {0x05, 0x01, "state"},
                                               {0x05, 0x03, "set-to-boot"},
                                               {0x05, 0x05, "update"}}};

std::size_t lengthOf(std::uint8_t first) {
    switch (first) {
        case kStart:
            return kRequestLength;
        case kStx:
            return kBlockLength;
        default:
            return 1;
    }
}

bool isQuestion(const std::string& kind) {
    return kind != "stop-upload" && kind != "start-upload" && kind != "CAN";
}

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

}  // namespace

std::vector<NamedByte> LineNames::fromTool(const std::vector<std::uint8_t>& bytes) {
    m_unfinished.insert(m_unfinished.end(), bytes.begin(), bytes.end());
    std::vector<NamedByte> named;
    while (!m_unfinished.empty() && m_unfinished.size() >= lengthOf(m_unfinished.front())) {
        name(named, lengthOf(m_unfinished.front()), kindOfFirst());
    }
    return named;
}

std::string LineNames::kindOfFirst() const {
    switch (m_unfinished.front()) {
        case kStart: {
            const auto* const row =
                std::find_if(kRequests.begin(), kRequests.end(), [this](const RequestRow& request) {
                    return request.group == m_unfinished[1] && request.code == m_unfinished[2];
                });
            return row == kRequests.end() ? "other" : row->name;
        }
        case kStx:
            return "block";
        case kEot:
            return "EOT";
        case kCan:
            return "CAN";
        default:
            return "other";
    }
}

void LineNames::name(std::vector<NamedByte>& named, std::size_t length, const std::string& kind) {
    const std::string title = fmt::format("{}#{}", kind, ++m_counts[kind]);
    for (std::size_t i = 0; i < length; ++i) {
        named.push_back({m_unfinished[i], fmt::format("tool:{}:{}", title, i)});
    }
    m_unfinished.erase(m_unfinished.begin(),
                       m_unfinished.begin() + static_cast<std::ptrdiff_t>(length));
    if (isQuestion(kind)) {
        m_questions.push_back(title);
        m_answerBytes = 0;
    }
}

std::string LineNames::fromMcu() {
    const std::string question = m_questions.empty() ? "nothing" : m_questions.back();
    return fmt::format("mcu:{}:{}", question, m_answerBytes++);
}

bool LineNames::inTransfer() const {
    const std::string question = m_questions.empty() ? "" : m_questions.back();
    return startsWith(question, "update") || startsWith(question, "block") ||
           startsWith(question, "EOT");
}
