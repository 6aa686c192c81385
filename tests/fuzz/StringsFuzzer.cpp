// Splitting, conversion and the other services on texts. Input: two texts, seven words and two
// bytes; the rest is the text that is split, converted and trimmed.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "technic/BufferedFile.h"
#include "technic/DateTime.h"
#include "technic/PathTrim.h"
#include "technic/StringParser.h"
#include "technic/TimeUtil.h"
#include "technic/string_util.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/Utf8Oracle.h"

namespace {

std::vector<std::string> piecesOf(const std::string& text, const std::string& delimiter) {
    std::vector<std::string> pieces;
    std::size_t begin = 0;
    while (!delimiter.empty() && begin <= text.size()) {
        const std::size_t end = std::min(text.find(delimiter, begin), text.size());
        if (end != begin) {
            pieces.push_back(text.substr(begin, end - begin));
        }
        begin = end + delimiter.size();
    }
    return pieces;
}

void split(const std::string& text, const std::string& delimiter) {
    StringParser parser;
    (void)parser.split("before", "/");
    const std::vector<std::string> expected = piecesOf(upToZero(text), upToZero(delimiter));
    require(parser.split(text.c_str(), delimiter.c_str()) == expected.size() &&
                parser.tokenCount() == 1 + expected.size(),
            "every piece is a token");
    for (std::size_t i = 0; i < expected.size(); ++i) {
        require(parser.token(i + 1) == expected[i], "a token is its piece");
    }
    require(
        parser.split(nullptr, delimiter.c_str()) == 0 && parser.split(text.c_str(), nullptr) == 0,
        "nothing has no pieces");
}

// Of more than four bytes, which no text has that follows today's standard. There is room for fewer
// of them.
bool hasLongCharacters(const std::wstring& text) {
    constexpr wchar_t kLastOfFourBytes = 0x1FFFFF;
    return std::any_of(text.begin(), text.end(),
                       [](wchar_t character) { return character > kLastOfFourBytes; });
}

void convertToWide(const std::string& utf8) {
    std::wstring wide = L"before";
    const bool isConverted = utf8ToWide(utf8, wide) != kConversionFailed;
    const std::optional<std::wstring> expected = decodedUtf8(utf8);
    require(isConverted == expected.has_value(), "what is UTF-8 is converted, and nothing else");
    require(wide == expected.value_or(L"before"), "the conversion is right");
    std::string again;
    require(
        !isConverted || hasLongCharacters(wide) || (wideToUtf8(wide, again) == 0 && again == utf8),
        "what was converted can be converted back");
}

void convertFromWide(const std::string& bytes) {
    std::wstring wide(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(wide.data(), bytes.data(), wide.size() * sizeof(wchar_t));
    std::string utf8 = "before";
    const bool isConverted = wideToUtf8(wide, utf8) != kConversionFailed;
    require(isConverted || utf8 == "before", "a failed conversion changes nothing");
    std::wstring again;
    require(!isConverted || (utf8ToWide(utf8, again) == 0 && again == wide),
            "what was converted can be converted back");
}

void trim(const std::string& path) {
    const std::size_t end = endWithoutTrailingSlashes(path);
    require(end <= path.size() && (end == 0) == path.empty(), "something of a path stays");
    require(path.find_first_not_of('/', end) == std::string::npos, "only slashes are trimmed");
    require(end < 2 || path[end - 1] != '/', "every slash at the end is trimmed");
}

void formatTime(FuzzInput& input, const std::string& layout) {
    DateTime moment;
    for (std::uint16_t* part : {&moment.year, &moment.month, &moment.dayOfWeek, &moment.day,
                                &moment.hour, &moment.minute, &moment.second}) {
        *part = input.word();
    }
    const bool isNamed = moment.dayOfWeek < 7;
    require(weekdayName(moment.dayOfWeek).empty() != isNamed &&
                weekdayNameChinese(moment.dayOfWeek).empty() != isNamed,
            "seven days have names");
    for (const char* known :
         {date_time_layout::kDateTime, date_time_layout::kTimeDate, date_time_layout::kMonthFirst,
          date_time_layout::kTimeMonthFirst, date_time_layout::kWeekday}) {
        require(formatDateTime(moment, known) != date_time_layout::kError,
                "a layout that is known formats every moment");
        require(layout == known || formatDateTime(moment, layout + "x") == date_time_layout::kError,
                "other names are no layouts");
    }
}

void openFile(unsigned flags) {
    constexpr unsigned kWriting = BufferedFile::kWrite | BufferedFile::kUpdate;
    BufferedFile file;
    const bool isOpen = file.open("/tmp/file", flags);
    const bool isMixed = (flags & BufferedFile::kRead) != 0 && (flags & kWriting) != 0;
    require(!isOpen || !isMixed, "reading and writing are not mixed");
    require((file.size() >= 0) == isOpen && (file.flush() == 0) == isOpen,
            "a file that is open can be used, and no other");
    (void)file.write("text", sizeof "text");
    require(file.close() == 0, "closing succeeds");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    FuzzInput input(data, size);
    const std::string delimiter = input.text();
    const std::string layout = input.text();
    formatTime(input, layout);
    openFile(input.byte());
    require(!currentTimeString(input.byte()).empty(), "there is a time in every layout");
    const std::string text = input.rest();
    split(text, delimiter);
    convertToWide(text);
    convertFromWide(text);
    trim(text);
    return 0;
}
