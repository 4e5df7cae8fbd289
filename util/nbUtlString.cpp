#include "util/nbUtlString.h"

#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"
#include "util/nbUtlMalloc.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

namespace {
enum Result { once = 0, repeated = 1, missing = 2, failed = 3 };

constexpr int firstWins = 1;

struct Freer {
    void operator()(char* p) const noexcept { nbUtlFree(p); }
};
using Text = std::unique_ptr<char, Freer>;

Result resultOf(std::int64_t occurrences)
{
    return occurrences == 0 ? missing : occurrences == 1 ? once : repeated;
}

// Length of the longest line with its newline; a last line without one does not count. No more
// than fgets can be asked for. Leaves the file at its start.
int longestLine(std::FILE* f)
{
    std::int64_t longest = 0;
    std::int64_t length = 0;
    std::rewind(f);
    for (int c; (c = std::getc(f)) != EOF;) {
        ++length;
        if (c != '\n') continue;
        longest = std::max(longest, length);
        length = 0;
    }
    std::rewind(f);
    return static_cast<int>(std::min<std::int64_t>(longest, std::numeric_limits<int>::max() - 1));
}

// The lines of a file, one after the other in one buffer.
class Lines {
public:
    Lines(std::FILE* f, const char* caller)
        : file_(f), longest_(longestLine(f)),
          buffer_(
              static_cast<char*>(nbUtlCalloc(static_cast<std::size_t>(longest_) + 1, 1, caller)))
    {
    }

    bool ok() const { return buffer_ != nullptr; }

    // The next line, or null at the end.
    // Deliberate: fgets gets the longest length, not the buffer's, so the longest line's newline
    // comes as a line of its own, and a longer last line without newline comes in pieces. With
    // the buffer's size such a last line would be cut elsewhere and other keys be found in it.
    char* next()
    {
        if (longest_ <= 1) return nullptr; // blank lines only: fgets would read nothing for ever
        return std::fgets(buffer_.get(), longest_, file_);
    }

private:
    std::FILE* file_;
    int longest_;
    Text buffer_;
};

// An integer text, limited to 32 bits.
std::int32_t toInt32(const char* text)
{
    constexpr long long low = std::numeric_limits<std::int32_t>::min();
    constexpr long long high = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(std::strtoll(text, nullptr, 10), low, high));
}

template <class T>
void store(void* dest, T value)
{
    std::memcpy(dest, &value, sizeof value);
}

bool storeAs(int type, const char* text, void* dest)
{
    switch (type) {
    case NB_PARAM_TEXT:
        std::memcpy(dest, text, std::strlen(text) + 1);
        return true;
    case NB_PARAM_INT8:
        store(dest, static_cast<std::int8_t>(toInt32(text)));
        return true;
    case NB_PARAM_INT16:
        store(dest, nbpWrap16(toInt32(text)));
        return true;
    case NB_PARAM_INT32:
    case NB_PARAM_LONG:
        store(dest, toInt32(text));
        return true;
    case NB_PARAM_INT64:
        store(dest, static_cast<std::int64_t>(std::strtoll(text, nullptr, 10)));
        return true;
    case NB_PARAM_FLOAT:
        store(dest, nbpToFloat(std::strtod(text, nullptr)));
        return true;
    case NB_PARAM_DOUBLE:
        store(dest, std::strtod(text, nullptr));
        return true;
    default:
        return false;
    }
}

Result csvItem(std::FILE* f, const char* item, const char* delims, char** values, int* count,
               int mode)
{
    constexpr const char* name = "nbUtlGetCsvItem()";
    Lines lines(f, name);
    if (!lines.ok()) return failed;
    const std::string separators = std::string(delims) + '\n';
    std::int64_t occurrences = 0;
    while (char* line = lines.next()) {
        if (line[0] == '\n') continue;
        char* save = nullptr;
        const char* word = nbUtlStrtok_r(line, separators.c_str(), &save);
        if (word == nullptr || std::strcmp(word, item) != 0) continue;
        const char* field = nbUtlStrtok_r(nullptr, separators.c_str(), &save);
        if (field == nullptr) {
            nbpLogWarn("%s : item [%s] に対応する parameter が見つかりません\n", name, item);
            continue;
        }
        ++occurrences;
        int i = 0;
        // Deliberate: in mode 1 a repeated line copies nothing and still sets the count, to 0.
        // Mended, the count no longer tells that the line was there twice.
        if (mode != firstWins || occurrences == 1) {
            for (; field != nullptr; field = nbUtlStrtok_r(nullptr, separators.c_str(), &save))
                std::memcpy(values[i++], field, std::strlen(field) + 1);
        }
        *count = i;
    }
    return resultOf(occurrences);
}
} // namespace

char* nbUtlStrtok_r(char* s, const char* delims, char** save)
{
    char* token = s != nullptr ? s : *save;
    *save = nullptr;
    if (token == nullptr) return nullptr;
    token += std::strspn(token, delims);
    if (*token == '\0') return nullptr;
    char* end = token + std::strcspn(token, delims);
    if (*end != '\0') {
        *end = '\0';
        *save = end + 1;
    }
    return token;
}

int getCharParam(std::FILE* f, const char* key, int mode, char** value)
{
    constexpr const char* name = "getCharParam()";
    constexpr const char* delims = "= ,\n";
    if (value == nullptr) return failed;
    *value = nullptr;
    if (f == nullptr || key == nullptr) return failed;
    Lines lines(f, name);
    if (!lines.ok()) return failed;
    Text found;
    std::int64_t occurrences = 0;
    while (char* line = lines.next()) {
        char* save = nullptr;
        const char* word = nbUtlStrtok_r(line, delims, &save);
        if (word == nullptr || std::strcmp(word, key) != 0) continue;
        ++occurrences;
        const char* text = nbUtlStrtok_r(nullptr, delims, &save);
        if (text == nullptr || (mode == firstWins && occurrences > 1)) continue;
        const std::size_t size = std::strlen(text) + 1;
        found.reset(static_cast<char*>(nbUtlMalloc(size, name)));
        if (found == nullptr) return failed;
        std::memcpy(found.get(), text, size);
    }
    *value = found.release();
    return resultOf(occurrences);
}

int nbUtlGetParam(std::FILE* f, const char* key, void* dest, int retType, int mode)
{
    if (dest == nullptr) return failed;
    char* value = nullptr;
    const int result = getCharParam(f, key, mode, &value);
    const Text text(value);
    if (result != once && result != repeated) return result;
    if (text == nullptr) return missing; // the key stands there without a value
    if (!storeAs(retType, text.get(), dest)) {
        std::fprintf(stderr, "retType=%d is not correct.\n", retType);
        return failed;
    }
    return result;
}

int nbUtlGetCsvItem(std::FILE* f, const char* item, const char* delims, char** values, int* count,
                    int mode)
{
    constexpr const char* name = "nbUtlGetCsvItem()";
    if (count == nullptr) return failed;
    *count = 0;
    if (item == nullptr) {
        nbpLogError("%s : item が指定されていません\n", name);
        return failed;
    }
    if (delims == nullptr) {
        nbpLogError("%s : 区切り文字が指定されていません\n", name);
        return failed;
    }
    if (f == nullptr || values == nullptr) return failed;
    return nbpGuard(name, failed, [&] { return csvItem(f, item, delims, values, count, mode); });
}
