#include "drivers/rdat/nbRdatFile.h"
#include "util/nbNumber.h"

#include <cmath>

namespace {

// Emissivity angles of a column, degrees. `first` belongs to the mirror that scans east.
void calcIncidentAngle(double offsetRad, const NbRdatColumn& column, double* first, double* second)
{
    constexpr double pi4 = 0.78539816339744828;
    constexpr double pi = 3.14159265358979324;
    const auto h = static_cast<double>(nbpToFloat(column.scan[0]) * -0.5F);
    const auto w = static_cast<double>(nbpToFloat(column.scan[1]));
    *first = ((h + 0.7853982 - offsetRad) * 180) / 3.1415927;
    *second = std::acos(std::cos(offsetRad - 2 * h) * std::cos(pi4 - w * 0.5)) * 180 / pi;
}

// Radiance that a mirror sends out at a temperature.
//
// Deliberate: this is not Planck's law. The 1 is taken off inside the exponent, and the
// wavelength stays in micrometres, so that the exponent is next to 0 and the result next to
// 2 h c^2 / w^5, far below what any band measures. Planck's law in its place would lower all
// brightness temperatures of the thermal bands by what the mirrors send out.
double mirrorRadiance(const NbRdatCalibration& cal, double kelvin)
{
    constexpr double h = 6.6260755e-34;
    constexpr double c = 299792458;
    constexpr double k = 1.380658e-23;
    if (!(kelvin > 0)) return 0;
    const double w = cal.wavelength;
    const double t3 = kelvin * kelvin * kelvin;
    return 2 * h * (c * c) /
           (std::pow(w, 5) * std::exp(h * c / (w * k * (cal.a + cal.b * cal.c * t3) - 1)));
}

// The intercept of a line moved on to the time of a column.
double movedIntercept(const NbRdatFile& file, const NbRdatLine& line, const NbRdatColumn& column)
{
    return (column.mjd - file.header.calibration.referenceMjd) * line.drift + line.intercept;
}

double visCalib(const NbRdatFile& file, const NbRdatLine& line, const NbRdatColumn& column,
                double n)
{
    const double base =
        file.header.calibration.mode < 2 ? movedIntercept(file, line, column) : line.base;
    if (column.g == 0 || column.f == 0) return base + line.square * (n * n) + line.slope * n;
    return (line.square * (n * n) + line.slope * n + base) / (column.g * column.f);
}

double irCalib(const NbRdatFile& file, const NbRdatLine& line, const NbRdatColumn& column, double n)
{
    double g = column.g;
    double f = column.f;
    if (std::abs(file.header.calibration.mirrorA[0]) > 0.5) { // reflectivities
        g = 1 - g;
        f = 1 - f;
    }
    const double e = 1 / ((1 - f) * (1 - g));
    return (line.slope * n + line.square * (n * n) + movedIntercept(file, line, column)) * e -
           g / (1 - g) * column.emitted[0] - f * e * column.emitted[1];
}

// The places of a calibration, or none outside the image or without tables.
struct Place {
    const NbRdatLine* line = nullptr;
    const NbRdatColumn* column = nullptr;
};
Place placeOf(const NbRdatFile& file, int line, int column)
{
    if (!file.inside(column, line) || file.columns.empty()) return {};
    return {&file.lines[static_cast<std::size_t>(line)],
            &file.columns[static_cast<std::size_t>(column)]};
}

using Formula = double(const NbRdatFile&, const NbRdatLine&, const NbRdatColumn&, double);
double calibrate(void* p, int line, int column, int level, Formula* formula)
{
    const NbRdatFile& file = *nbpRdatFile(p);
    const Place place = placeOf(file, line, column);
    if (place.line == nullptr || level % 2 != 0) return rdatNone;
    const int count = level / 4; // a level is four times a count
    return formula(file, *place.line, *place.column, count);
}

double radToAlb(const NbRdatFile& file, double radiance)
{
    return radiance * file.header.calibration.albedo;
}

// Planck's law in wavelength: h c and 2 h c^2; the radiance per metre.
double radToTbb(const NbRdatFile& file, double radiance)
{
    const NbRdatCalibration& cal = file.header.calibration;
    const double r = static_cast<double>(nbpToFloat(radiance)) * 1e+06;
    const double w = cal.wavelength * 1e-06;
    const double k = w * 1.3806488e-23;
    const double te =
        1.9864456832693028e-25 / (k * std::log(1.1910428681415875e-16 / (std::pow(w, 5) * r) + 1));
    return cal.polynomial[0] + cal.polynomial[1] * te + cal.polynomial[2] * (te * te);
}

} // namespace

void nbpRdatPrepareCalib(NbRdatFile* file)
{
    const NbRdatCalibration& cal = file->header.calibration;
    const double* a = cal.mirrorA;
    const double* b = cal.mirrorB;
    for (NbRdatColumn& column : file->columns) {
        double p = 0;
        double q = 0;
        calcIncidentAngle(cal.offsetRad, column, &p, &q);
        column.g = a[0] + a[1] * q + a[2] * (q * q);
        column.f = b[0] + b[1] * p + b[2] * p * q;
        for (int i = 0; i < 2; ++i)
            column.emitted[i] = mirrorRadiance(cal, column.mirrorTemp[i]);
    }
}

double nbpRdatRadiance(const NbRdatFile& file, int line, int column, int count)
{
    const Place place = placeOf(file, line, column);
    if (place.line == nullptr) return rdatNone;
    return (file.solar() ? visCalib : irCalib)(file, *place.line, *place.column, count);
}

double nbpRdatFromRadiance(const NbRdatFile& file, int kind, double radiance)
{
    if (!(radiance > -9000.0)) return rdatNone;
    if (kind == rdatRadiance) return radiance;
    return file.solar() ? radToAlb(file, radiance) : radToTbb(file, radiance);
}

double nbpRdatVisCalib(void* p, int line, int column, int level)
{
    return calibrate(p, line, column, level, visCalib);
}

double nbpRdatIrCalib(void* p, int line, int column, int level)
{
    return calibrate(p, line, column, level, irCalib);
}

double nbpRdatRadToAlb(void* p, double radiance)
{
    return radToAlb(*nbpRdatFile(p), radiance);
}

double nbpRdatRadToTbb(void* p, double radiance)
{
    return radToTbb(*nbpRdatFile(p), radiance);
}
