#include "sat/nbSatMgetProjData.h"

#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetProjData.h"
#include "sat/nbSatLevels.h"
#include "sat/nbSatNav.h"
#include "sat/nbSatOverlap.h"
#include "util/nbArray.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

constexpr int modeMost = 12;
constexpr double noValue = -9999.0;

// One open file of the list and its picture on the grid.
class Layer {
public:
    Layer() = default;
    ~Layer()
    {
        object_.lut = nullptr; // shared with the caller's object
        if (object_.fileFormatId != 0) nbSatCloseObject(&object_);
    }
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    // Opens a file with the element, interpolation and level conversion of `like`.
    // The name is one file, as it was when the list was sorted: its blanks do not make it a list.
    bool open(char* name, const NbSatObject& like)
    {
        if (nbSatMopenObject(&object_, &name, 1, 0) != 1) {
            object_.fileFormatId = 0;
            return false;
        }
        nbSatSetIntp(&object_, like.intpMethod);
        if (like.elemName == nullptr || nbSatSetElems(&object_, like.elemName) < 1) return false;
        object_.lut = like.lut;
        return true;
    }
    bool project(NbProjPara* proj, std::size_t cells, bool isI2)
    {
        plane_.resize(cells);
        if (!isI2)
            return nbSatGetR4ProjData(&object_, proj, plane_.data(), 0, 0, nullptr, nullptr) >= 0;
        NbArray<std::int16_t> levels(cells, 0, NbAllocator<std::int16_t>("mgetData()"));
        if (nbSatGetI2ProjData(&object_, proj, levels.data(), 0, 0, nullptr, nullptr) < 0)
            return false;
        std::copy(levels.begin(), levels.end(), plane_.begin());
        return true;
    }

    NbSatObject* object() { return &object_; }
    float value(std::size_t cell) const { return plane_[cell]; }

private:
    NbSatObject object_{};
    NbArray<float> plane_{NbAllocator<float>("mgetData()")};
};

// Comparison value of a layer at a cell; nbOverlapNone where it does not compete.
double getValue(Layer& layer, int mode, const NbPointInfo& point, float pixel, float line,
                float sample, bool isI2)
{
    if (pixel == -9999.0F || line == -9999.0F) return nbOverlapNone;
    switch (mode) {
    case 1:
    case 2:
        return nbpOverlapFileTime(layer.object()->startTime);
    case 3:
    case 4:
        return point.time;
    case 5:
    case 6: {
        double x = noValue;
        double y = noValue;
        nbSatGetResByPixLin(layer.object(), &pixel, &line, &x, &y, 1);
        if (x == noValue) return y;
        return y == noValue ? x : (x + y) / 2;
    }
    case 7:
    case 8: {
        const NbSatObject& object = *layer.object();
        const bool missing =
            isI2 ? nbpSatIsMissing(object, nbpTrunc16(sample)) : nbpSatIsMissing(object, sample);
        return missing ? nbOverlapNone : static_cast<double>(sample);
    }
    case 9:
    case 10:
        return point.satZenith;
    default:
        return point.sunZenith;
    }
}

// Lays the planes over each other, cell by cell; the last plane stands where nothing competes.
bool overlap(std::vector<std::unique_ptr<Layer>>& layers, int mode, NbProjPara* proj, bool isI2,
             NbArray<float>& result, NbPointInfo* info)
{
    const int columns = proj->xNum;
    const auto width = static_cast<std::size_t>(columns);
    NbArray<float> x(width, 0.0F, NbAllocator<float>("overlap()"));
    NbArray<float> y(x);
    NbArray<float> pixel(x);
    NbArray<float> line(x);
    NbArray<double> lon(width, 0.0, NbAllocator<double>("overlap()"));
    NbArray<double> lat(lon);
    NbArray<double> best(lon);
    NbArray<NbPointInfo> points(width, NbPointInfo{}, NbAllocator<NbPointInfo>("overlap()"));
    for (std::size_t i = 0; i < width; ++i)
        x[i] = static_cast<float>(i);

    for (int row = 0; row < proj->yNum; ++row) {
        const std::size_t at = static_cast<std::size_t>(row) * width;
        std::fill(y.begin(), y.end(), static_cast<float>(row));
        std::fill(best.begin(), best.end(), nbOverlapNone);
        if (nbProjXYToLonLat(x.data(), y.data(), lon.data(), lat.data(), columns, proj) < 0)
            return false;
        for (std::size_t i = 0; i < width; ++i) {
            result[at + i] = layers.back()->value(at + i);
            if (info != nullptr) info[at + i] = NbPointInfo{};
        }
        for (auto& layer : layers) {
            // With no mode the last layer alone decides.
            if (mode < 1 && layer != layers.back()) continue;
            nbSatLonLatToPixLinInfo(layer->object(), lon.data(), lat.data(), pixel.data(),
                                    line.data(), points.data(), columns);
            for (std::size_t i = 0; i < width; ++i) {
                if (lon[i] == noValue || lat[i] == noValue) continue;
                const double value = mode < 1 ? 0.0
                                              : getValue(*layer, mode, points[i], pixel[i], line[i],
                                                         layer->value(at + i), isI2);
                if (!nbpOverlapLaterWins(mode, value, best[i])) continue;
                best[i] = value;
                result[at + i] = layer->value(at + i);
                if (info != nullptr) info[at + i] = points[i];
            }
        }
    }
    return true;
}

int mgetData(const char* caller, NbSatObject* object, char** names, int count, int mode,
             NbProjPara* proj, std::int16_t* outI2, float* outR4, NbPointInfo* info)
{
    constexpr const char* source = "nbSatGetProjData";
    if (outI2 == nullptr && outR4 == nullptr) {
        nbpLogError("%s %s :  データ格納用の配列が確保されていません\n", source, caller);
        return -1;
    }
    if (mode > modeMost) {
        nbpLogError("%s : 重ねあわせモード %d は不正です \n", caller, mode);
        return -1;
    }
    if (proj->xNum < 1 || proj->yNum < 1) {
        nbpLogError("%s : NbProjPara Parameter Error! \n", caller);
        return -1;
    }
    const bool isI2 = outI2 != nullptr;
    const std::size_t cells =
        static_cast<std::size_t>(proj->xNum) * static_cast<std::size_t>(proj->yNum);
    std::vector<std::unique_ptr<Layer>> layers;
    const int opened = nbSatFileSort(names, count);
    for (int i = 0; i < opened; ++i) {
        auto layer = std::make_unique<Layer>();
        if (layer->open(names[i], *object) && layer->project(proj, cells, isI2))
            layers.push_back(std::move(layer));
    }
    if (layers.empty()) {
        nbpLogError("%s %s : メモリ確保エラー \n", source, caller);
        return 0;
    }
    NbArray<float> result(cells, 0.0F, NbAllocator<float>("mgetData()"));
    if (!overlap(layers, mode, proj, isI2, result, info)) return -1;
    for (std::size_t i = 0; i < cells; ++i) {
        if (isI2)
            outI2[i] = nbpTrunc16(result[i]); // whole numbers of 16 bits
        else
            outR4[i] = result[i];
    }
    return static_cast<int>(layers.size());
}

} // namespace

int nbSatMgetI2ProjData(NbSatObject* object, char** names, int count, int mode, NbProjPara* proj,
                        int16_t* out, NbPointInfo* info)
{
    return nbpGuard("nbSatMgetI2ProjData()", -1, [&] {
        return mgetData("nbSatMgetI2ProjData()", object, names, count, mode, proj, out, nullptr,
                        info);
    });
}

int nbSatMgetR4ProjData(NbSatObject* object, char** names, int count, int mode, NbProjPara* proj,
                        float* out, NbPointInfo* info)
{
    return nbpGuard("nbSatMgetR4ProjData()", -1, [&] {
        return mgetData("nbSatMgetR4ProjData()", object, names, count, mode, proj, nullptr, out,
                        info);
    });
}
