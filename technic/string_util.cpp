#include "technic/string_util.h"

#include <iconv.h>

#include <cstdint>
#include <memory>

#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"

namespace {

// The most bytes that one character of the output takes.
constexpr std::size_t kMostBytesPerCharacter = 4;

// A conversion descriptor for one conversion.
class Converter {
  public:
    Converter(const char* to, const char* from) : m_descriptor(iconv_open(to, from)) {}
    ~Converter() {
        if (isOpen()) {
            (void)iconv_close(m_descriptor);  // an open descriptor closes
        }
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    std::size_t convert(char* input, std::size_t inputBytes, char* output,
                        std::size_t& outputBytesLeft) {
        if (!isOpen()) {
            return kConversionFailed;
        }
        return iconv(m_descriptor, &input, &inputBytes, &output, &outputBytesLeft);
    }

  private:
    bool isOpen() const { return m_descriptor != reinterpret_cast<iconv_t>(-1); }

    iconv_t m_descriptor;
};

template <class From, class To>
std::size_t convert(const char* fromName, const char* toName, const std::basic_string<From>& input,
                    std::basic_string<To>& output) {
    if (input.size() >= SIZE_MAX / kMostBytesPerCharacter) {
        return kConversionFailed;
    }
    const std::size_t capacity = (input.size() + 1) * kMostBytesPerCharacter;
    const std::size_t units = capacity / sizeof(To);
    const std::unique_ptr<To[]> buffer(new (KD_HERE) To[units]());
    std::basic_string<From> source(input);
    std::size_t left = capacity;
    const std::size_t result =
        Converter(toName, fromName)
            .convert(reinterpret_cast<char*>(source.data()), source.size() * sizeof(From),
                     reinterpret_cast<char*>(buffer.get()), left);
    if (result != kConversionFailed) {
        output.assign(buffer.get(), (capacity - left) / sizeof(To));
    }
    return result;
}

}  // namespace

std::size_t utf8ToWide(const std::string& utf8, std::wstring& wide) {
    return convert("UTF8", "WCHAR_T", utf8, wide);
}

std::size_t wideToUtf8(const std::wstring& wide, std::string& utf8) {
    return convert("WCHAR_T", "UTF8", wide, utf8);
}
