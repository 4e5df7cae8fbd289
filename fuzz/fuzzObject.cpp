// Any bytes as an image file, through the object as the program uses it: detection, channels,
// elements, navigation both ways, samples, a rectangle, a map. The first byte chooses the format
// that is opened without looking, or detection.
#include "geo/nbProj.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetProjData.h"
#include "sat/nbSatGetZoomData.h"
#include "sat/nbSatNav.h"
#include "util/nbLog.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

// The file of an input: in memory, with a path.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size)
        : descriptor_(memfd_create("fuzz", MFD_CLOEXEC))
    {
        for (std::size_t at = 0; at < size;) {
            const ssize_t n = write(descriptor_, data + at, size - at);
            if (n <= 0) break;
            at += static_cast<std::size_t>(n);
        }
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

void useElement(NbSatObject* object, const char* name)
{
    if (nbSatSetElems(object, name) < 1 || object->elemNum != 1) return;
    std::vector<float> table(70000);
    int levels = static_cast<int>(table.size());
    nbSatGetCalTable(object, name, table.data(), &levels);

    const std::array<float, 5> pixel = {0, 3, 1000.4F, -1, 1e9F};
    const std::array<float, 5> line = {0, 5, 700.6F, -9999, 1e9F};
    std::array<double, 5> lon{};
    std::array<double, 5> lat{};
    std::array<NbPointInfo, 5> info{};
    nbSatPixLinToLonLatInfo(object, pixel.data(), line.data(), lon.data(), lat.data(), info.data(),
                            5);
    std::array<float, 5> backPixel{};
    std::array<float, 5> backLine{};
    nbSatLonLatToPixLinInfo(object, lon.data(), lat.data(), backPixel.data(), backLine.data(),
                            info.data(), 5);
    std::array<std::int16_t, 64> counts{};
    std::array<float, 64> values{};
    nbSatGetI2DataByPixLin(object, pixel.data(), line.data(), counts.data(), 5);
    nbSatGetR4DataByPixLin(object, pixel.data(), line.data(), values.data(), 5);
    const NbZoomRect rect{1, 1, 20, 0, 8, 8};
    nbSatGetI2ZoomData(object, &rect, counts.data());
    nbSatGetR4ZoomData(object, &rect, values.data());

    NbProjPara map{};
    map.prjType = NB_PROJ_GRID;
    map.baseLon = lon[1] > -180 && lon[1] < 180 ? lon[1] : 140;
    map.baseLat = lat[1] > -90 && lat[1] < 90 ? lat[1] : 30;
    map.stepX = map.stepY = 0.5;
    map.xNum = map.yNum = 8;
    map.roughX = map.roughY = 6;
    nbSatGetI2ProjData(object, &map, counts.data(), 0, 0, nullptr, nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static std::FILE* const nowhere = std::fopen("/dev/null", "w");
    for (int level = 1; level <= 5; ++level)
        nbLogSetStream(level, nowhere);
    if (size < 1) return 0;
    constexpr std::array<const char*, 9> options = {"",
                                                    "?type=hisd",
                                                    "?type=hrit",
                                                    "?type=native",
                                                    "?type=gvar",
                                                    "?type=vissr",
                                                    "?type=ngac",
                                                    "?type=ngacv1",
                                                    ""};
    const MemoryFile file(data + 1, size - 1);
    NbSatObject object{};
    const std::string path = file.path() + options[data[0] % options.size()];
    if (nbSatOpenObject(&object, path.c_str()) != 0) return 0;
    nbSatSetStopGap(&object, data[0] / 16);
    const int channels = nbSatGetChNum(&object);
    for (int channel = 0; channel < channels && channel < 12; ++channel) {
        int pixels = 0;
        int lines = 0;
        int levels = 0;
        char text[1024] = "";
        if (nbSatGetChInfo(&object, channel, &pixels, &lines, &levels, text) < 0) continue;
        const std::string name = std::string(text).substr(0, std::string(text).find_first_of(",/"));
        for (const char* suffix : {"", "_T", "_A", "_R"})
            useElement(&object, (name + suffix).c_str());
    }
    nbSatCloseObject(&object);
    return 0;
}
