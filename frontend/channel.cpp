#include "frontend/channel.h"

#include "drivers/vissr/nbVissr.h"
#include "sat/nbSatAnalSatId.h"

#include <array>
#include <cstring>
#include <iterator>

namespace {

// Words of band 1 to 16: short, long, band.
constexpr const char* channelNames[16][3] = {
    {"V1", "VIS1", "B01"},  {"V2", "VIS2", "B02"},  {"VS", "VIS3", "B03"},  {"N1", "NIR1", "B04"},
    {"N2", "NIR2", "B05"},  {"N3", "NIR3", "B06"},  {"I4", "SWIR", "B07"},  {"WV", "WV1", "B08"},
    {"W2", "WV2", "B09"},   {"W3", "WV3", "B10"},   {"MI", "MWIR", "B11"},  {"O3", "O3", "B12"},
    {"IR", "LWIR1", "B13"}, {"L2", "LWIR2", "B14"}, {"I2", "LWIR3", "B15"}, {"CO", "CO2", "B16"},
};

enum class Reading { Albedo, Temperature }; // 0 to 1 with sun adjustment; 173 to 323 K without

struct ElementRow {
    std::array<std::string_view, 6> starts; // the channel name begins with one of these ...
    std::string_view holds;                 // ... and holds this text
    std::string_view counts;                // empty: the start that fitted
    std::string_view physical;              // beginning with "_": behind the counts element
    Reading reading;
    std::string_view label; // empty: the word of `nameRow`
    int nameRow;            // row of channelNames; -1: of the band that fitted
    bool longDropsPrefix;   // long words stand without the label's prefix
};

// The first row that fits decides: B01 with "_A,_R" is the band itself, never "VIS".
constexpr ElementRow elementTable[] = {
    {{"IR1", "AVHRR4"}, "", "IR1", "IR_T", Reading::Temperature, "IR", 0, false},
    {{"IR2", "AVHRR5"}, "", "IR2", "IR2_T", Reading::Temperature, "I2", 0, false},
    {{"IR3"}, "", "IR3", "IR3_T", Reading::Temperature, "WV", 0, false},
    {{"VIS", "AVHRR1"}, "", "VIS", "VIS_A", Reading::Albedo, "VS", 0, false},
    {{"AVHRR2"}, "", "VIS2", "VIS2_A", Reading::Albedo, "V2", 0, false},
    {{"AVHRR3A"}, "", "AVHRR3A", "AVHRR3A_A", Reading::Albedo, "V3", 0, false},
    {{"IR4", "AVHRR3"}, "", "IR4", "IR4_T", Reading::Temperature, "I4", 0, false},
    {{"B01", "B02", "B04", "B05", "B06"}, "_A,_R", "", "_A", Reading::Albedo, "", -1, true},
    {{"B09", "B10", "B11", "B12", "B14", "B16"},
     "_T,_R",
     "",
     "_T",
     Reading::Temperature,
     "",
     -1,
     true},
    {{"B01", "B03"}, "_A,_R", "VIS", "VIS_A", Reading::Albedo, "", 2, false},
    {{"B13", "B04"}, "_T,_R", "IR1", "IR1_T", Reading::Temperature, "", 12, false},
    {{"B15", "B05"}, "_T,_R", "IR2", "IR2_T", Reading::Temperature, "", 14, false},
    {{"B08", "B03"}, "_T,_R", "IR3", "IR3_T", Reading::Temperature, "", 7, false},
    {{"B07", "B02"}, "_T,_R", "IR4", "IR4_T", Reading::Temperature, "", 6, false},
};

// The start of the row that the name begins with; empty for none.
std::string_view fittingStart(const ElementRow& row, std::string_view name)
{
    if (name.find(row.holds) == std::string_view::npos) return {};
    for (const std::string_view start : row.starts)
        if (!start.empty() && name.starts_with(start)) return start;
    return {};
}

int rowOfBand(std::string_view band)
{
    return (band[1] - '0') * 10 + (band[2] - '0') - 1; // "B01" is row 0
}

} // namespace

std::optional<NbChannelElements> channelElements(std::string_view channelName, int nameColumn,
                                                 std::string_view prefix)
{
    for (const ElementRow& row : elementTable) {
        const std::string_view start = fittingStart(row, channelName);
        if (start.empty()) continue;

        NbChannelElements out;
        out.counts = row.counts.empty() ? start : row.counts;
        out.physical = row.physical.starts_with('_') ? out.counts + std::string(row.physical)
                                                     : std::string(row.physical);
        out.low = row.reading == Reading::Albedo ? 0.0F : 173.0F;
        out.high = row.reading == Reading::Albedo ? 1.0F : 323.0F;
        out.keepsSunAdjust = row.reading == Reading::Albedo;
        const int nameRow = row.nameRow >= 0 ? row.nameRow : rowOfBand(start);
        if (!(row.longDropsPrefix && nameColumn == 1)) out.label = prefix;
        out.label += row.label.empty() ? channelNames[nameRow][nameColumn] : row.label;
        return out;
    }
    return std::nullopt;
}

std::string GetSatName(const NbSatObject& object)
{
    std::string name(object.satName, strnlen(object.satName, sizeof object.satName));
    if (object.fileFormatId == NB_FORMAT_HISD) {
        if (name.find("Himawari-8") != std::string::npos) return "Himawa-8";
        if (name.find("Himawari-9") != std::string::npos) return "Himawa-9";
    }
    if (object.fileFormatId == NB_FORMAT_VISSR) {
        // GOES satellites carry one name in these files; where they stood tells them apart.
        const double lon = nbpVissrGetStartLon(object.privateData);
        if (lon > -80 && lon < -70) return "GOES-8";
        if (lon > -140 && lon < -130) return "GOES-10";
        if (lon > 150) return "GOES-9";
    }
    return name;
}

std::string labelPrefix(std::string_view satelliteWord, bool fixedSensor)
{
    std::string text(fixedSensor ? "MTSAT-2" : satelliteWord);
    if (const auto hyphen = text.find('-'); hyphen != std::string::npos) {
        text.resize(hyphen + 1);
        return text.size() > 6 ? "" : text;
    }
    // Bytes of 128 and above end the word like blanks: they are no letters of a label.
    std::size_t end = 0;
    while (end < text.size() && end < 8 && static_cast<signed char>(text[end]) > ' ')
        ++end;
    if (end > 4) return "";
    text.resize(end);
    return text + '-';
}
