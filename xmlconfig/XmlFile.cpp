#include "xmlconfig/XmlFile.h"

#include <fcntl.h>
#include <strings.h>
#include <tinyxml.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>

#include "technic/RegularFile.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "technic/WholeTransfer.h"

namespace {

constexpr mode_t kFileMode = 0644;

// A parsed document takes a multiple of its text, so a text may take only this part of the memory.
constexpr std::int64_t kPartOfMemory = 16;

std::int64_t mostBytes() {
    const std::int64_t memory =
        static_cast<std::int64_t>(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE);
    const std::int64_t most = std::numeric_limits<std::uint32_t>::max();
    return memory > 0 ? std::min(most, memory / kPartOfMemory) : most;
}

bool writeAll(int fd, const std::string& text) {
    return transferWhole(text.size(), [&](std::size_t offset, std::size_t rest) {
        return ::write(fd, text.data() + offset, rest);
    });
}

const char* attribute(const TiXmlElement* element, const std::string& key) {
    return element == nullptr ? nullptr : element->Attribute(key.c_str());
}

}  // namespace

bool XmlFile::read(const std::string& path, std::string& text) {
    const RegularFile file(path);
    if (!file.isOpen() || file.size() <= 0 || file.size() > mostBytes()) {
        return false;
    }
    const auto size = static_cast<std::size_t>(file.size());
    try {
        const std::unique_ptr<char[]> bytes(new (KD_HERE) char[size]);
        if (!file.readAt(0, bytes.get(), size)) {
            return false;
        }
        text.assign(bytes.get(), size);
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::length_error&) {
        return false;
    }
    return true;
}

bool XmlFile::write(const std::string& path, const std::string& text) {
    const int fd =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, kFileMode);
    if (fd == -1) {
        return false;
    }
    const bool written = writeAll(fd, text);
    return ::close(fd) == 0 && written;
}

bool XmlFile::readString(const TiXmlElement* element, const std::string& key, std::string& value) {
    const char* text = attribute(element, key);
    if (text == nullptr) {
        return false;
    }
    value = text;
    return true;
}

bool XmlFile::readInt(const TiXmlElement* element, const std::string& key, std::int32_t& value) {
    const char* text = attribute(element, key);
    if (text == nullptr) {
        value = 0;
        return false;
    }
    using Range = std::numeric_limits<std::int32_t>;
    const long long number = std::strtoll(text, nullptr, 10);
    value = static_cast<std::int32_t>(std::clamp<long long>(number, Range::min(), Range::max()));
    return true;
}

bool XmlFile::readUInt64(const TiXmlElement* element, const std::string& key,
                         std::uint64_t& value) {
    const char* text = attribute(element, key);
    if (text == nullptr) {
        return false;
    }
    unsigned long long number = 0;
    if (std::sscanf(text, "%llu", &number) == 1) {
        value = number;
    }
    return true;
}

bool XmlFile::readBool(const TiXmlElement* element, const std::string& key, bool& value) {
    const char* text = attribute(element, key);
    if (text == nullptr) {
        return false;
    }
    if (strcasecmp(text, "true") == 0) {
        value = true;
    } else if (strcasecmp(text, "false") == 0) {
        value = false;
    }
    return true;
}
