#include "tests/e2e/GoldenNote.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <tuple>

namespace {

using Lines = std::vector<std::string>;

const char kBefore[] = "MCUSessionControler::communicate 1111111111\n";
const char kAfter[] = "MCUSessionControler::communicate 22222222222\n";
const char kStopUploadTrace[] = "SendCommand : fe 05 07 01 00 0d ff 00 00\n";

Lines linesOf(const std::filesystem::path& file) {
    std::ifstream in(file);
    if (!in) {
        throw std::runtime_error("no golden file " + file.string());
    }
    Lines lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    return words;
}

std::string sendTrace(std::vector<std::string> bytes) {
    constexpr std::size_t kTracedBytes = 9;
    bytes.resize(kTracedBytes, "00");
    std::string trace = "SendCommand :";
    for (const std::string& byte : bytes) {
        trace += " " + byte;
    }
    return trace + "\n";
}

void appendRead(Lines& messages, const std::string& byte) {
    messages.push_back("RecvCommand : ");
    messages.push_back(byte + " ");
    messages.push_back("\n");
}

void appendText(Lines& messages, std::string line) {
    line = std::regex_replace(line, std::regex(R"(\\r)"), "\r");
    // The transfer's lines come in two messages: what is waited for, and how that ended.
    const std::size_t dots = line.find("...");
    if (dots != std::string::npos && line.find(" for ") < dots) {
        messages.push_back(line.substr(0, dots + 3));
        line.erase(0, dots + 3);
    }
    messages.push_back(line + "\n");
}

// The parameter block that opening the line writes; it ends in a blank without a line end.
void appendSession(Lines& messages, const std::string& device,
                   const std::vector<std::string>& settings) {
    const char* const names[] = {"m_strDeviceName", "m_nBaudrate", "m_nDatabits", "m_nStopbits",
                                 "m_nParity"};
    std::vector<std::string> values = {device, "115200", "8", "0", "0"};
    std::copy(settings.begin(), settings.end(), values.begin());
    std::string block;
    for (std::size_t i = 0; i < values.size(); ++i) {
        block += std::string(" ") + names[i] + " = " + values[i] + "\n";
    }
    messages.push_back(block + " ");
}

class GoldenReader {
  public:
    GoldenReader(std::filesystem::path folder, std::string device)
        : m_folder(std::move(folder)), m_device(std::move(device)) {}

    Lines read(const std::filesystem::path& file) {
        const Lines lines = linesOf(file);
        Lines messages;
        std::size_t next = 0;
        readUntilEnd(lines, next, messages);
        if (next != lines.size()) {
            throw std::runtime_error("@end without @repeat in " + file.string());
        }
        return messages;
    }

  private:
    void readUntilEnd(const Lines& lines, std::size_t& next, Lines& messages) {
        while (next < lines.size() && lines[next] != "@end") {
            const std::string& line = lines[next++];
            if (line.compare(0, 8, "@repeat ") == 0) {
                repeat(std::stoi(line.substr(8)), lines, next, messages);
            } else if (!line.empty() && line[0] == '@') {
                shortForm(line, messages);
            } else if (line.empty() || line[0] != '#') {
                appendText(messages, line);
            }
        }
    }

    void repeat(int count, const Lines& lines, std::size_t& next, Lines& messages) {
        Lines body;
        readUntilEnd(lines, next, body);
        if (next == lines.size()) {
            throw std::runtime_error("@repeat without @end");
        }
        ++next;
        for (int round = 0; round < count; ++round) {
            messages.insert(messages.end(), body.begin(), body.end());
        }
    }

    void shortForm(const std::string& line, Lines& messages) {
        std::vector<std::string> words = wordsOf(line);
        const std::string form = words.front();
        words.erase(words.begin());
        if (form == "@session") {
            appendSession(messages, m_device, words);
        } else if (form == "@request" || form == "@failed-request") {
            messages.push_back(kBefore);
            messages.push_back(sendTrace(words));
            if (form == "@request") {
                messages.push_back(kAfter);
            }
        } else if (form == "@reply") {
            for (const std::string& byte : words) {
                appendRead(messages, byte);
            }
        } else if (form == "@silence" || form == "@no-reply") {
            appendRead(messages, "00");
            if (form == "@no-reply") {
                messages.push_back("recvCommand Ret = 0\n");
            }
        } else if (form == "@unended") {
            messages.push_back(line.substr(form.size() + 1));
        } else if (form == "@include") {
            const Lines included = read(m_folder / words.at(0));
            messages.insert(messages.end(), included.begin(), included.end());
        } else {
            throw std::runtime_error("unknown short form in a golden file: " + line);
        }
    }

    std::filesystem::path m_folder;
    std::string m_device;
};

// What a background thread may write next, and where it stands after that.
struct Step {
    std::string text;
    int next;
};

// Keeper: 0 between cycles, 1 before the send trace, 2 after it (the closing line may be missing).
const std::multimap<int, Step> kKeeper = {
    {0, {kBefore, 1}}, {1, {kStopUploadTrace, 2}}, {2, {kAfter, 0}}, {2, {kBefore, 1}}};

// Feeder: 0 not started, 1 started, 2 before a feed's result.
const std::multimap<int, Step> kFeeder = {
    {0, {"____start GThreadWatchdog thread\n", 1}},
    {1, {"MCUHardwareWatchDog send GPIO_SET_WTD\n", 2}},
    {2, {"MCUHardwareWatchDog send GPIO_SET_WTD success\n", 1}},
    {2, {"MCUHardwareWatchDog send GPIO_SET_WTD error\n", 1}}};

struct State {
    std::size_t golden;
    int keeper;
    int feeder;
    bool operator<(const State& other) const {
        return std::tie(golden, keeper, feeder) <
               std::tie(other.golden, other.keeper, other.feeder);
    }
};

class NoteMatcher {
  public:
    NoteMatcher(const std::string& note, const Lines& golden) : m_note(note), m_golden(golden) {}

    std::string difference() {
        m_reached[0].insert({0, 0, 0});
        while (!m_reached.empty()) {
            const auto [position, states] = *m_reached.begin();
            m_reached.erase(m_reached.begin());
            for (const State& state : states) {
                if (position == m_note.size() && state.golden == m_golden.size()) {
                    return "";
                }
                advance(position, state);
            }
            m_farthest = position;
            m_farthestState = *states.rbegin();
        }
        return describe();
    }

  private:
    void advance(std::size_t position, const State& state) {
        if (state.golden < m_golden.size()) {
            step(position, m_golden[state.golden], {state.golden + 1, state.keeper, state.feeder});
        }
        background(kKeeper, state.keeper, position, [&](int next) {
            return State{state.golden, next, state.feeder};
        });
        background(kFeeder, state.feeder, position, [&](int next) {
            return State{state.golden, state.keeper, next};
        });
    }

    template <class MakeState>
    void background(const std::multimap<int, Step>& steps, int current, std::size_t position,
                    MakeState makeState) {
        const auto [begin, end] = steps.equal_range(current);
        for (auto found = begin; found != end; ++found) {
            step(position, found->second.text, makeState(found->second.next));
        }
    }

    void step(std::size_t position, const std::string& text, const State& after) {
        if (m_note.compare(position, text.size(), text) == 0) {
            m_reached[position + text.size()].insert(after);
        }
    }

    std::string describe() const {
        std::ostringstream out;
        out << "the note differs from the golden note at byte " << m_farthest << ", after:\n...";
        constexpr std::size_t kContext = 300;
        const std::size_t begin = m_farthest > kContext ? m_farthest - kContext : 0;
        out << m_note.substr(begin, m_farthest - begin) << "\n--- the note goes on:\n"
            << m_note.substr(m_farthest, kContext) << "\n--- the golden note goes on:\n";
        for (std::size_t i = m_farthestState.golden;
             i < m_golden.size() && i < m_farthestState.golden + 5; ++i) {
            out << m_golden[i];
        }
        return out.str();
    }

    const std::string& m_note;
    const Lines& m_golden;
    std::map<std::size_t, std::set<State>> m_reached;
    std::size_t m_farthest = 0;
    State m_farthestState{0, 0, 0};
};

}  // namespace

std::vector<std::string> goldenMessages(const std::filesystem::path& file,
                                        const std::string& device) {
    return GoldenReader(file.parent_path(), device).read(file);
}

std::string differenceFromGolden(const std::string& note, const std::vector<std::string>& golden) {
    return NoteMatcher(note, golden).difference();
}
