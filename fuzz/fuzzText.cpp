// Readers of keys and values, of fields and of foreign characters and numbers. The first byte
// chooses the kind of value, the first line is the key, what stands behind it is the file.
#include "fuzz/fuzzFile.h"
#include "util/nbFile.h"
#include "util/nbReal.h"
#include "util/nbStr.h"
#include "util/nbUtlMalloc.h"
#include "util/nbUtlString.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

void readParameters(std::FILE* file, const std::string& key, int kind, int mode, std::size_t size)
{
    std::vector<char> value(std::max<std::size_t>(size + 1, sizeof(double)));
    nbUtlGetParam(file, key.c_str(), value.data(), kind, mode);

    // Room as the header asks for it: as many fields, each as long, as a line can fill.
    const std::size_t most = size / 2 + 1;
    std::vector<char> room(most * (size + 1));
    std::vector<char*> fields(most);
    for (std::size_t i = 0; i < most; ++i)
        fields[i] = room.data() + i * (size + 1);
    int count = 0;
    nbUtlGetCsvItem(file, key.c_str(), ", ;", fields.data(), &count, mode);
}

void convert(std::span<const std::uint8_t> bytes)
{
    std::vector<char> text(bytes.begin(), bytes.end());
    const int size = static_cast<int>(text.size());
    nbStrEbcdicToAscii(text.data(), size);
    nbStrAsciiToEbcdic(text.data(), size);
    nbUtlFree(nbStrFortranToC(text.data(), size));
    nbStrCToFortran(text.data(), size);
    std::vector<float> single(bytes.size() / sizeof(float));
    if (!single.empty()) std::memcpy(single.data(), bytes.data(), single.size() * sizeof(float));
    nbReal4IbmToIeeeN(single.data(), static_cast<int>(single.size()));
    std::vector<double> wide(bytes.size() / sizeof(double));
    if (!wide.empty()) std::memcpy(wide.data(), bytes.data(), wide.size() * sizeof(double));
    nbReal8IbmToIeeeN(wide.data(), static_cast<int>(wide.size()));
    for (float& value : single)
        nbReal4IeeeToIbm(&value);
    for (double& value : wide)
        nbReal8IeeeToIbm(&value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > 700) return 0; // the fields' room grows with the square
    const std::span<const std::uint8_t> all(data + 1, size - 1);
    const auto end = std::find(all.begin(), all.end(), '\n');
    const std::string key(all.begin(), end);
    const auto bytes = all.subspan(std::min(key.size() + 1, all.size()));

    const FuzzFile memory(bytes);
    const NbFilePtr file = nbpFileOpenRead(memory.path().c_str());
    if (!file) return 0;
    readParameters(file.get(), key, data[0] % 9, data[0] / 16 % 2, bytes.size());
    convert(bytes);
    return 0;
}
