#include "frontend/setupFile.h"

#include "util/nbFile.h"
#include "util/nbNumber.h"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

struct Range {
    double low = -DBL_MAX;
    double high = DBL_MAX;
    bool lowOutside = false; // `low` itself is refused
};
constexpr Range any{};
constexpr Range aboveZero{0, DBL_MAX, true};
constexpr Range aboveOne{1, DBL_MAX, true};
constexpr Range flag{0, 1, false};
constexpr Range longitude{-180, 180, false};
constexpr Range latitude{-90, 90, false};

enum class Kind { Real, Single, Whole }; // as given; fits a float; rounded to an int

struct Keyword {
    const char* word;
    Range range; // of the value as it stands in the file
    Kind kind;
    void (*store)(double value, NbSettings& settings, NbProjPara& map);
};

constexpr Keyword keywords[] = {
    {"PRJCLON", longitude, Kind::Real, [](double v, NbSettings&, NbProjPara& m) { m.stdLon = v; }},
    {"PRJCLAT", latitude, Kind::Real, [](double v, NbSettings&, NbProjPara& m) { m.stdLat1 = v; }},
    {"PRJCLAT2", latitude, Kind::Real, [](double v, NbSettings&, NbProjPara& m) { m.stdLat2 = v; }},
    {"STAALT", aboveZero, Kind::Real, [](double v, NbSettings&, NbProjPara& m) { m.height = v; }},
    {"ELLFLG", aboveZero, Kind::Real, [](double, NbSettings&, NbProjPara& m) { m.ellipsoid = 1; }},
    {"STDXPOS", any, Kind::Single,
     [](double v, NbSettings&, NbProjPara& m) { m.baseX = nbpToFloat(v); }},
    {"STDYPOS", any, Kind::Single,
     [](double v, NbSettings&, NbProjPara& m) { m.baseY = nbpToFloat(v); }},
    {"STDLON", longitude, Kind::Real, [](double v, NbSettings&, NbProjPara& m) { m.baseLon = v; }},
    {"STDLAT", latitude, Kind::Real, [](double v, NbSettings&, NbProjPara& m) { m.baseLat = v; }},
    {"STDXSIZ", aboveZero, Kind::Real, [](double v, NbSettings&, NbProjPara& m) { m.stepX = v; }},
    {"STDYSIZ", aboveZero, Kind::Real, [](double v, NbSettings&, NbProjPara& m) { m.stepY = v; }},
    {"STDXNUM", aboveOne, Kind::Whole,
     [](double v, NbSettings&, NbProjPara& m) { m.xNum = nbpTrunc32(v); }},
    {"STDYNUM", aboveOne, Kind::Whole,
     [](double v, NbSettings&, NbProjPara& m) { m.yNum = nbpTrunc32(v); }},
    {"OFFXPOS", any, Kind::Single,
     [](double v, NbSettings& s, NbProjPara&) { s.offsetX = nbpToFloat(v); }},
    {"OFFYPOS", any, Kind::Single,
     [](double v, NbSettings& s, NbProjPara&) { s.offsetY = nbpToFloat(v); }},
    {"OFFCHNO", any, Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) { s.offsetChannel = nbpTrunc32(v); }},
    // 1 to 3 are taken and then mean the channel's own levels, like 0.
    {"BITLEN",
     {-14, 14, false},
     Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) {
         if (v < 0) s.inverted = true;
         s.bitCount = nbpTrunc32(std::fabs(v));
     }},
    {"VERSION",
     {1, DBL_MAX, false},
     Kind::Real,
     [](double v, NbSettings& s, NbProjPara&) {
         const double code = std::floor(v * 10 + 0.5);
         if (code < 100) s.versionCode = nbpTrunc32(code); // two digits of the header
     }},
    {"CMPFLG", flag, Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) { s.compress = v != 0; }},
    {"EXTFLG", flag, Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) { s.extended = v != 0; }},
    {"CORFLG", flag, Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) { s.correction = nbpTrunc32(v); }},
    {"NLNFLG", flag, Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) { s.nonlinear = v != 0; }},
    {"SUNFLG", aboveZero, Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) { s.sunAdjust = nbpTrunc32(v); }},
    {"RGHFLG", aboveZero, Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) { s.roughness = nbpTrunc32(v); }},
    {"LNDFLG", flag, Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) { s.landmark = v != 0; }},
    {"INTPLT",
     {0, DBL_MAX, false},
     Kind::Whole,
     [](double v, NbSettings& s, NbProjPara&) { s.gap = nbpTrunc32(v); }},
};

void apply(const char* word, double value, NbSettings& settings, NbProjPara& map)
{
    for (const Keyword& row : keywords) {
        if (std::strcmp(word, row.word) != 0) continue;
        const Range& range = row.range;
        if (!(value >= range.low && value <= range.high)) return; // also not a number
        if (range.lowOutside && value == range.low) return;
        if (row.kind == Kind::Single && std::fabs(value) > FLT_MAX) return;
        if (row.kind == Kind::Whole) value = std::floor(value + 0.5);
        if (row.kind == Kind::Whole && !(value >= INT_MIN && value <= INT_MAX)) return;
        row.store(value, settings, map);
        return;
    }
}

} // namespace

void applySetupFile(const char* path, NbSettings& settings, NbProjPara& map)
{
    const NbFilePtr file = nbpFileOpenText(path);
    if (!file) return;
    constexpr int mostRecords = 100000; // a device can give bytes for ever
    for (int record = 0; record < mostRecords; ++record) {
        char word[256] = "";
        // Deliberate: a keyword without a number behind it has the value -999, and what stands
        // there is the next keyword. The fields without a range so become -999. To mend it
        // would move the maps of setup files that leave a value empty.
        double value = -999;
        if (std::fscanf(file.get(), "%255s %400lf\n", word, &value) == EOF) return;
        if (std::strcmp(word, ";") == 0) return;
        apply(word, value, settings, map);
    }
}
