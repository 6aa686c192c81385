#include "simulator/mcu/LiveView.h"

#include <fmt/color.h>
#include <fmt/format.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMostShownBytes = 16;
constexpr std::size_t kPlainProgressStep = 16384;
constexpr std::size_t kBarStep = 1024;
constexpr std::size_t kBarWidth = 32;

double secondsOf(Time time) {
    return std::chrono::duration<double>(time).count();
}

const char* arrowOf(Direction direction) {
    switch (direction) {
        case Direction::ToMcu:
            return "->";
        case Direction::FromMcu:
            return "<-";
        default:
            return "**";
    }
}

fmt::text_style styleOf(const Record& record) {
    if (!record.fault.empty() || record.meaning == "fault") {
        return fmt::fg(fmt::terminal_color::red);
    }
    switch (record.direction) {
        case Direction::ToMcu:
            return fmt::fg(fmt::terminal_color::cyan);
        case Direction::FromMcu:
            return fmt::fg(fmt::terminal_color::green);
        default:
            return fmt::fg(fmt::terminal_color::yellow);
    }
}

std::string shownBytes(const Bytes& bytes) {
    if (bytes.size() <= kMostShownBytes) {
        return toHex(bytes);
    }
    return fmt::format("{}... ({} bytes)",
                       toHex(Bytes(bytes.begin(), bytes.begin() + kMostShownBytes)), bytes.size());
}

std::string textOf(const Record& record) {
    std::string text = fmt::format("{:10.3f} {:<8} {} {:<16} {}", secondsOf(record.time),
                                   record.mcu.empty() ? "-" : record.mcu, arrowOf(record.direction),
                                   record.meaning, shownBytes(record.bytes));
    if (!record.detail.empty()) {
        text += (record.bytes.empty() ? "" : "  ") + record.detail;
    }
    if (!record.fault.empty()) {
        text += "  [" + record.fault + "]";
    }
    return text;
}

// Blocks and their acknowledgements are shown by the progress line.
bool belongsToProgress(const Record& record) {
    if (!record.fault.empty()) {
        return false;
    }
    return record.meaning.rfind("block", 0) == 0 ||
           (record.meaning == "ACK" && record.detail == "block");
}

}  // namespace

LiveView::LiveView(std::FILE* out)
    : m_out(out), m_terminal(out != nullptr && isatty(fileno(out)) == 1) {}

void LiveView::show(const Record& record) {
    if (m_out == nullptr || belongsToProgress(record)) {
        return;
    }
    endProgressLine();
    const std::string text = textOf(record);
    if (m_terminal) {
        fmt::print(m_out, "{}\n", fmt::format(styleOf(record), "{}", text));
    } else {
        fmt::print(m_out, "{}\n", text);
    }
    (void)std::fflush(m_out);  // a view that nobody can see any more harms nothing
}

void LiveView::showProgress(Time now, const std::string& mcu, std::size_t bytes) {
    if (m_out == nullptr || bytes == m_progressBytes) {
        return;
    }
    if (m_progressBytes == 0 || bytes < m_progressBytes) {
        m_progressBegin = now;
    }
    const bool shown = bytes != 0 && (m_terminal || bytes / kPlainProgressStep !=
                                                        m_progressBytes / kPlainProgressStep);
    m_progressBytes = bytes;
    if (!shown) {
        return;
    }
    const double seconds = secondsOf(now - m_progressBegin);
    const std::string rate =
        seconds > 0 ? fmt::format("{:.0f} bytes/s", static_cast<double>(bytes) / seconds) : "";
    if (m_terminal) {
        const std::string bar(bytes / kBarStep % (kBarWidth + 1), '#');
        fmt::print(m_out, "\r{:10.3f} {:<8} [{:<{}}] {:6.1f} KiB  {}\033[K", secondsOf(now), mcu,
                   bar, kBarWidth, static_cast<double>(bytes) / 1024.0, rate);
    } else {
        fmt::print(m_out, "{:10.3f} {:<8} .. {} KiB received  {}\n", secondsOf(now), mcu,
                   bytes / 1024, rate);
    }
    m_inProgressLine = m_terminal;
    (void)std::fflush(m_out);
}

void LiveView::endProgressLine() {
    if (m_inProgressLine) {
        fmt::print(m_out, "\n");
        m_inProgressLine = false;
    }
}
