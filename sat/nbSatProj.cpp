#include "sat/nbSatProj.h"

#include "sat/nbSatNav.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

constexpr const char* sourceName = "nbSatProj";
constexpr double noValue = -9999.0;
constexpr float noPosition = -9999.0F;

// One axis of the crop: `count` cells of the grid over `span` source pixels (or lines) from
// `origin`. Cell and pixel centres are the whole numbers, hence the half cell of offset.
struct CropAxis {
    double count;
    int span;
    float origin;

    double offset() const { return (count / span - 1) * 0.5; }
    float toMap(float source) const
    {
        return nbpToFloat(offset() + static_cast<double>(source - origin) * count / span);
    }
    float toSource(float map) const
    {
        const double cells = static_cast<double>(map) - offset();
        return nbpToFloat(cells * span / count + static_cast<double>(origin));
    }
};

// The object whose address stands in the storage of `height`.
NbSatObject* objectOf(const NbProjPara* para)
{
    static_assert(sizeof(void*) <= sizeof para->height);
    NbSatObject* object = nullptr;
    std::memcpy(&object, &para->height, sizeof(void*));
    return object;
}

// The record's object when it is open; null (logged) when not.
NbSatObject* openObjectOf(const NbProjPara* para, const char* caller)
{
    NbSatObject* object = objectOf(para);
    if (object != nullptr && object->fileFormatId != 0) return object;
    nbpLogError("%s : %s : NbSatObject が Open されていません.\n", sourceName, caller);
    return nullptr;
}

// The step is the source extent; without one the crop runs to the image's end.
CropAxis cropAxis(double count, double step, float origin, int imageSize)
{
    const int span = nbpTrunc32(step);
    const double rest = static_cast<double>(imageSize) - static_cast<double>(origin);
    return {count, span != 0 ? span : nbpTrunc32(rest), origin};
}
CropAxis columnAxis(const NbSatObject* object, const NbProjPara* para)
{
    return cropAxis(para->baseLon, para->stepX, para->baseX, object->pixelNum);
}
CropAxis rowAxis(const NbSatObject* object, const NbProjPara* para)
{
    return cropAxis(para->baseLat, para->stepY, para->baseY, object->lineNum);
}

// A crop without extent has no positions.
bool isEmpty(const CropAxis& axis)
{
    return axis.span == 0 || axis.count == 0;
}

template <class T>
int refuse(T* a, T* b, int n)
{
    if (n > 0) std::fill_n(a, n, static_cast<T>(noValue));
    if (n > 0) std::fill_n(b, n, static_cast<T>(noValue));
    return -1;
}

} // namespace

extern "C" {

int nbSatSetNavToProj(NbSatObject* object, NbProjPara* para)
{
    if (para->prjType != NB_PROJ_ZOOM) {
        nbpLogError("%s : %s : 'NB_PROJ_ZOOM' 以外の投影法では無効です\n", sourceName,
                    "nbSatSetNavToProj");
        return -1;
    }
    para->lonLatToXY = nbpSatProjLonLatToXY;
    para->xyToLonLat = nbpSatProjXYToLonLat;
    std::memcpy(&para->height, &object, sizeof(void*));
    para->baseLon = para->xNum;
    para->baseLat = para->yNum;
    return 0;
}

int nbpSatProjLonLatToXY(const double* lon, const double* lat, float* x, float* y, int n,
                         NbProjPara* para)
{
    NbSatObject* object = openObjectOf(para, "nbpSatProjLonLatToXY");
    if (object == nullptr) return refuse(x, y, n);
    const CropAxis columns = columnAxis(object, para);
    const CropAxis rows = rowAxis(object, para);
    if (isEmpty(columns) || isEmpty(rows)) return refuse(x, y, n);
    const int result = nbSatLonLatToPixLin(object, lon, lat, x, y, n);
    for (int i = 0; i < n; ++i) {
        if (y[i] == noPosition) continue;
        x[i] = columns.toMap(x[i]);
        y[i] = rows.toMap(y[i]);
    }
    return result;
}

int nbpSatProjXYToLonLat(const float* x, const float* y, double* lon, double* lat, int n,
                         NbProjPara* para)
{
    NbSatObject* object = openObjectOf(para, "nbpSatProjXYToLonLat");
    if (object == nullptr) return refuse(lon, lat, n);
    const CropAxis columns = columnAxis(object, para);
    const CropAxis rows = rowAxis(object, para);
    if (isEmpty(columns) || isEmpty(rows)) return refuse(lon, lat, n);
    return nbpGuard("nbpSatProjXYToLonLat()", -1, [&] {
        const std::size_t count = n > 0 ? static_cast<std::size_t>(n) : 0;
        std::vector<float> pixel(x, x + count);
        std::vector<float> line(y, y + count);
        for (std::size_t i = 0; i < count; ++i) {
            if (line[i] == noPosition) continue;
            pixel[i] = columns.toSource(pixel[i]);
            line[i] = rows.toSource(line[i]);
        }
        return nbSatPixLinToLonLat(object, pixel.data(), line.data(), lon, lat, n);
    });
}

} // extern "C"
