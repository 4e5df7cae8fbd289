// A whole run of the program on small files that are there from the start. The first byte chooses
// the input and how many names are given; the lines up to an empty one are options, what stands
// behind it is the setup file and every other small file that an option names.
//
// A run writes where its output and its shift file lie, so those names are never the input's.
#include "frontend/mapGrid.h"
#include "frontend/run.h"
#include "frontend/setupFile.h"
#include "tests/synth/synthGvar.h"
#include "tests/synth/synthHisd.h"
#include "tests/synth/synthNative.h"
#include "tests/synth/synthNoaa.h"
#include "tests/synth/synthVissr.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

// Of every input: "SP1" and its like are names that only a difference makes into files.
constexpr std::array<std::string_view, 12> inputNames = {
    "IR1", "SP1", "SP2", "SP3", "IR4", "VIS", "list", "native", "gvar", "vissr", "ngac", "none"};

class Folder {
public:
    Folder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "fuzzXXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        path_ = pattern + "/";
        const SynthHisd disk{.columns = 40, .diskLines = 40};
        for (const auto& [name, band] :
             {std::pair("IR1", 13), {"IR2", 15}, {"IR3", 8}, {"IR4", 7}, {"VIS", 3}}) {
            SynthHisd file = disk;
            file.band = band;
            put(name, file.bytes());
        }
        std::string list;
        for (const SynthHisd& part : disk.split(2)) {
            const std::string name = "part" + std::to_string(part.segment);
            put(name, part.bytes());
            list += path_ + name + "\n";
        }
        put("list", std::as_bytes(std::span(list)));
        put("native", SynthNative{}.bytes());
        put("gvar", SynthGvar{}.bytes());
        put("vissr", SynthVissr{.columns = 40, .lines = 40}.bytes());
        put("ngac", SynthNgac{}.bytes());
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string operator/(std::string_view name) const { return path_ + std::string(name); }
    void put(std::string_view name, std::span<const std::byte> bytes) const
    {
        std::ofstream file(*this / name, std::ios::binary);
        for (const std::byte byte : bytes)
            file.put(std::to_integer<char>(byte));
    }

private:
    std::string path_;
};

// An option with the names of files in it replaced; nothing that begins without "-" is one.
std::string tamed(std::string option, const Folder& folder)
{
    if (option.size() < 2 || option[0] != '-') return "-" + option;
    const int letter = std::tolower(static_cast<unsigned char>(option[1]));
    const auto value = option.find('=');
    if (value == std::string::npos || option.starts_with("-h:") || option.starts_with("-H:"))
        return option;
    if (letter == 't' || letter == 'h') return option.substr(0, value + 1) + (folder / "text");
    if (letter == 'd') return option.substr(0, value + 1) + (folder / "");
    return option;
}

// A map that is quickly made. A crop without a size takes the image's, over its step.
bool isSmall(const NbSettings& settings, std::span<const char* const> names)
{
    constexpr int most = 64;
    NbSettings copy = settings;
    NbProjPara map = defaultMap(settings.projection);
    if (names.size() > 2) applySetupFile(names[2], copy, map);
    const auto fits = [](int count, double step) { return count < 1 ? step >= 1 : count <= most; };
    return fits(map.xNum, map.stepX) && fits(map.yNum, map.stepY);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Folder folder;
    if (size == 0) return 0;
    std::vector<std::string> arguments;
    std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
    while (!rest.empty() && arguments.size() < 20) {
        const auto end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.empty()) break;
        arguments.push_back(tamed(std::string(line.substr(0, line.find('\0'))), folder));
    }
    folder.put("text", std::as_bytes(std::span(rest)));

    const std::string_view inputName = inputNames[data[0] % 16 % inputNames.size()];
    const std::array<std::string, 3> names = {folder / inputName, folder / "output",
                                              folder / "text"};
    const std::size_t nameCount = data[0] < 240 ? 3 : data[0] % 4;
    arguments.insert(arguments.end(), names.begin(), names.begin() + std::ptrdiff_t(nameCount));
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());

    const NbSettings settings = parseCommandLine(pointers);
    if (isSmall(settings, std::span(pointers).last(nameCount))) runConversion(settings);
    return 0;
}
