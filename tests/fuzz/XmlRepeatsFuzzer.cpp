// Long and deep documents out of short inputs. Input: pieces of the document, each as a count in
// two bytes and a text; a piece stands as often as its count says, as long as the document stays
// below kMostBytes. In a piece, '#' stands for the number of the repeat.
#include <cstddef>
#include <string>

#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/XmlOracle.h"

namespace {

constexpr std::size_t kMostBytes = std::size_t{64} * 1024;

std::string numbered(const std::string& piece, unsigned number) {
    std::string text;
    for (const char c : piece) {
        text += c == '#' ? std::to_string(number) : std::string(1, c);
    }
    return text;
}

std::string documentOf(FuzzInput& input) {
    std::string document;
    while (!input.isAtEnd()) {
        const unsigned count = input.word();
        const std::string piece = input.text();
        for (unsigned i = 0; i < count && document.size() < kMostBytes && !piece.empty(); ++i) {
            document += numbered(piece, i);
        }
    }
    return document;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    FuzzInput input(data, size);
    requireXmlLimits(documentOf(input));
    return 0;
}
