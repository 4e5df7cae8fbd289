#include "drivers/common/nbNoaaElem.h"

#include "drivers/common/nbElemName.h"
#include "util/nbLogFormat.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace {

struct ElemRow {
    int channel;
    int firstSatellite;   // that has it; NOAA numbers
    const char* names;    // separated by commas
    const char* suffixes; // likewise
    const char* text;     // micrometre
};

constexpr ElemRow elemTable[] = {
    {0, 1, "AVHRR1,VIS1,VIS,1", "_A", "0.55-0.90"},
    {1, 1, "AVHRR2,VIS2,2", "_A", "0.725-1.10"},
    {2, 1, "AVHRR3,AVHRR3B,IR4,3B,3", "_T,_R", "3.55-3.93"},
    {3, 1, "AVHRR4,IR1,IR,4", "_T,_R", "10.5-11.5"},
    {4, 7, "AVHRR5,IR2,5", "_T,_R", "11.5-12.5"},
    {-2, 15, "AVHRR3A,VIS3,3A", "_A", "1.6"},
};
static_assert(std::size(elemTable) == noaaSlots + 1);

constexpr struct {
    char letter;
    NbNoaaPhysics physics;
} physicsTable[] = {{'A', noaaAlbedo}, {'R', noaaRadiance}, {'T', noaaTemperature}};

// The most elements that a pixel may have: every channel in every reading.
constexpr std::size_t mostElements = 3 * std::size(elemTable);
constexpr std::size_t channelTextSize = 256; // of a caller of GetChInfo

// The row of a channel number as callers count them: among those that the satellite has.
const ElemRow* rowAt(const NbNoaaImage& image, int channel)
{
    int n = 0;
    for (const ElemRow& row : elemTable) {
        if (row.firstSatellite > image.satNumber) continue;
        if (n++ == channel) return &row;
    }
    return nullptr;
}

std::optional<NbNoaaElement> findElement(const NbNoaaImage& image, std::string_view name)
{
    const std::size_t bar = name.find('_');
    const std::string_view channel = name.substr(0, bar);
    if (channel.empty() || channel.find(',') != std::string_view::npos) return std::nullopt;
    for (const ElemRow& row : elemTable) {
        if (row.firstSatellite > image.satNumber || !nbpElemIsListed(row.names, channel)) continue;
        if (bar == std::string_view::npos)
            return NbNoaaElement{.channel = row.channel, .physics = noaaCounts};
        const std::string_view suffix = name.substr(bar);
        if (suffix.find(',') != std::string_view::npos || !nbpElemIsListed(row.suffixes, suffix))
            continue;
        for (const auto& entry : physicsTable)
            if (suffix[1] == entry.letter)
                return NbNoaaElement{.channel = row.channel, .physics = entry.physics};
    }
    return std::nullopt;
}

} // namespace

int nbpNoaaCheckElem(const NbNoaaImage& image, const char* name, const char* caller,
                     NbNoaaElement* element)
{
    const auto found = findElement(image, name);
    if (!found) {
        nbpLogWarn("%s : bad element name '%s'\n", caller, name);
        return noaaNoElement;
    }
    *element = *found;
    return found->physics;
}

int nbpNoaaCheckElem(const NbNoaaImage& image, const char* name, const char* caller, int* channel,
                     int* physics)
{
    NbNoaaElement element;
    const int code = nbpNoaaCheckElem(image, name, caller, &element);
    if (code == noaaNoElement) return code;
    *channel = element.channel;
    *physics = element.physics;
    return code;
}

int nbpNoaaGetChInfo(const NbNoaaImage& image, int channel, int* pixels, int* lines, int* levels,
                     char* name, const char* caller)
{
    const ElemRow* row = rowAt(image, channel);
    if (row == nullptr) {
        nbpLogError("%s : bad channel number '%d'\n", caller, channel);
        return -1;
    }
    *pixels = noaaPixels;
    *lines = image.records.lines;
    *levels = noaaLevels;
    std::snprintf(name, channelTextSize, "%s/%s/%s", row->names, row->suffixes, row->text);
    return 0;
}

int nbpNoaaSetElements(NbNoaaImage* image, const char* names, int* pixels, int* lines, int* levels,
                       float* errorValue, const char* caller)
{
    image->elements.clear();
    if (names == nullptr) return -1;
    std::vector<NbNoaaElement> elements;
    const std::string_view list = names;
    for (std::size_t at = 0; at < list.size();) {
        const std::size_t end = std::min(list.find(',', at), list.size());
        if (end > at) {
            const std::string token(list.substr(at, end - at));
            NbNoaaElement element;
            if (nbpNoaaCheckElem(*image, token.c_str(), caller, &element) == noaaNoElement)
                return -1;
            if (elements.size() == mostElements) {
                nbpLogWarn("%s : more than %d elements\n", caller, static_cast<int>(mostElements));
                return -1;
            }
            elements.push_back(element);
        }
        at = end + 1;
    }
    if (elements.empty()) return -1;
    *pixels = noaaPixels;
    *lines = image->records.lines;
    *levels = noaaLevels;
    *errorValue = -1.0F;
    // Deliberate: the last element alone says whether all of them are counts or values. A list
    // that mixes both is read as what its last name is; a refusal would end runs that work.
    const int base = elements.back().physics == noaaCounts ? 10000 : 20000;
    image->elements = std::move(elements);
    return base + static_cast<int>(image->elements.size());
}

int nbpNoaaGetChannel(const NbNoaaImage& image, int style)
{
    // Place of each channel in the order common to all drivers.
    constexpr int codes[] = {0, 5, 4, 1, 2, 6};
    if (image.elements.empty()) return -1;
    const int channel = image.elements.front().channel;
    if (style == 0) return channel;
    if (channel < 0 || static_cast<std::size_t>(channel) >= std::size(codes)) return -1;
    return codes[channel];
}

void nbpNoaaReportCounts(const NbNoaaImage& image, const char* caller)
{
    for (const NbNoaaElement& element : image.elements)
        if (element.physics == noaaCounts) {
            nbpLogFatal("%s : INTERNAL ERROR ( physics = %d ).\n", caller, element.physics);
            return;
        }
}

int nbpNoaaTableRoom(const NbNoaaImage& image, const char* name, const float* table, int* n,
                     const char* caller, NbNoaaElement* element)
{
    if (name == nullptr || n == nullptr || *n < 0 || (table == nullptr && *n > 0)) return -1;
    const int physics = nbpNoaaCheckElem(image, name, caller, element);
    if (physics == noaaNoElement) return -1;
    if (physics == noaaCounts) {
        nbpLogError("%s : bad element name '%s'\n", caller, name);
        return -1;
    }
    const int room = std::min(*n, noaaLevels);
    *n = noaaLevels;
    return room;
}
