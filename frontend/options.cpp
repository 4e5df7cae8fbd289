#include "frontend/options.h"

#include "util/nbFile.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

// A decimal integer at the start of `text`, as "%d" takes it: what stands behind it is left. A
// text without one, or one that no int holds, leaves `value`. Gives where the number ends.
const char* scanInt(const char* text, int& value)
{
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10); // beyond a long: its nearest end
    if (end == text || number < INT_MIN || number > INT_MAX) return nullptr;
    value = static_cast<int>(number);
    return end;
}

// "x,y" in pixels and lines. Each number that is there and finite replaces its value.
void scanShift(const char* text, NbSettings& settings)
{
    float x = settings.offsetX;
    float y = settings.offsetY;
    const int found = std::sscanf(text, "%f,%f", &x, &y);
    if (found >= 1 && std::isfinite(x)) settings.offsetX = x;
    if (found >= 2 && std::isfinite(y)) settings.offsetY = y;
}

void readShiftFile(const char* path, NbSettings& settings)
{
    const NbFilePtr file = nbpFileOpenText(path);
    if (!file) return;
    char text[1024]; // two numbers
    const std::size_t length = std::fread(text, 1, sizeof text - 1, file.get());
    text[length] = '\0';
    scanShift(text, settings);
}

// -h=file, -h/n=file, -h*n=file, -h:=x,y. `form` begins behind the letter.
void parseShift(const char* form, NbSettings& settings)
{
    if (form[0] == ':' && form[1] == '=') return scanShift(form + 2, settings);
    const bool divides = form[0] == '/';
    const bool scales = divides || form[0] == '*';
    if (scales && !(form[1] >= '1' && form[1] <= '9')) return;
    const char* const rest = scales ? form + 2 : form;
    if (rest[0] != '=') return;

    settings.shiftName = rest + 1;
    readShiftFile(rest + 1, settings);
    if (!scales) return;
    const auto rate = static_cast<float>(form[1] - '0');
    for (float* offset : {&settings.offsetX, &settings.offsetY})
        *offset = divides ? *offset / rate : *offset * rate;
    // A product beyond float is no shift that an image could have.
    if (!std::isfinite(settings.offsetX)) settings.offsetX = 0;
    if (!std::isfinite(settings.offsetY)) settings.offsetY = 0;
}

void parseBits(const char* value, NbSettings& settings)
{
    settings.bitCount = 8;
    if (value != nullptr) scanInt(value, settings.bitCount);
    if (settings.bitCount < 0) {
        settings.inverted = true;
        settings.bitCount = settings.bitCount < -14 ? 0 : -settings.bitCount;
    }
    if (settings.bitCount < 4 || settings.bitCount > 14) settings.bitCount = 0;
}

void parseVersion(const char* value, NbSettings& settings)
{
    int major = 1;
    int minor = 1;
    if (value != nullptr) {
        const char* const end = scanInt(value, major);
        if (end != nullptr && *end == '.') scanInt(end + 1, minor);
    }
    const std::int64_t code = std::int64_t{major} * 10 + minor;
    if (code >= 100 || code < INT_MIN) return; // the header has room for two digits
    settings.versionCode = static_cast<int>(code);
}

void parseProjection(const char* value, NbSettings& settings)
{
    if (value == nullptr) return;
    std::string name(value);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    constexpr const char* names[] = {"ps", "disk", "grid", "merc", "lamb"};
    const auto* const at = std::find(std::begin(names), std::end(names), name);
    settings.projection = at == std::end(names) ? -1 : static_cast<int>(at - std::begin(names));
}

// `form`: the argument behind its letter. `value`: what stands behind "=" when the form begins
// with it, otherwise null.
struct Option {
    char letter;
    const char* usage; // null: not in the usage text
    void (*parse)(const char* form, const char* value, NbSettings& settings);
};

constexpr Option optionTable[] = {
    {'c', "  options : -c=x (channel number, default:0)",
     [](const char*, const char* value, NbSettings& s) {
         if (value != nullptr) scanInt(value, s.channel);
     }},
    {'s', "  options : -s[=x] (difference image mode, default:1)",
     [](const char*, const char* value, NbSettings& s) {
         if (value == nullptr)
             s.difference = 1;
         else
             scanInt(value, s.difference);
     }},
    {'z', "  options : -z (compress output file)",
     [](const char*, const char*, NbSettings& s) { s.compress = true; }},
    {'m', "  options : -m[=x] (multi input file, default:1)",
     [](const char*, const char* value, NbSettings& s) {
         s.overlapMode = 1;
         s.listInput = true;
         if (value != nullptr) scanInt(value, s.overlapMode);
     }},
    {'b', "  options : -b[=x] (bit number per pixel, default:8)",
     [](const char*, const char* value, NbSettings& s) { parseBits(value, s); }},
    {'t', "  options : -t=xxx (table file)",
     [](const char*, const char* value, NbSettings& s) {
         if (value != nullptr) s.tableName = value;
     }},
    {'v', "  options : -v[=x.x] (file version, defualt:1.1)",
     [](const char*, const char* value, NbSettings& s) { parseVersion(value, s); }},
    {'a', "  options : -a[=x] (adjust reflectance by sun zenieth angle, default:1)",
     [](const char*, const char* value, NbSettings& s) {
         s.sunAdjust = 1;
         if (value != nullptr) scanInt(value, s.sunAdjust);
     }},
    {'g', "  options : -g[=x] (roughen grid of projection, default:6)",
     [](const char*, const char* value, NbSettings& s) {
         s.roughness = 6;
         if (value != nullptr) scanInt(value, s.roughness);
     }},
    {'i', "  options : -i[=x] (interpolate error line, default:0)",
     [](const char*, const char* value, NbSettings& s) {
         s.gap = 0;
         if (value != nullptr) scanInt(value, s.gap);
     }},
    {'n', "  options : -n (nonlinear conversion of calibration table)",
     [](const char*, const char*, NbSettings& s) { s.nonlinear = true; }},
    {'f', "  options : -f (flag of need for correcting calibration table)",
     [](const char*, const char*, NbSettings& s) { s.correction = 1; }},
    {'e', "  options : -e (flag of extending calibration table)",
     [](const char*, const char*, NbSettings& s) { s.extended = true; }},
    {'d', "  options : -d=xxx (specify data directory)",
     [](const char*, const char* value, NbSettings& s) {
         if (value != nullptr) s.dataDirectory = value;
     }},
    {'k', "  options : -k[=lat0,lon0,lat1,lon1] (adjust location by landmark)",
     [](const char*, const char* value, NbSettings& s) {
         s.landmark = true;
         if (value != nullptr) s.landmarkBox = value;
     }},
    {'h', "  options : -h[/x|*x]=xxx (i/o file for shift values [rate])",
     [](const char* form, const char*, NbSettings& s) { parseShift(form, s); }},
    {'p', nullptr,
     [](const char*, const char* value, NbSettings& s) { parseProjection(value, s); }},
    {'w', nullptr,
     [](const char*, const char* value, NbSettings& s) {
         if (value != nullptr) scanInt(value, s.sensorWord);
     }},
    {'y', nullptr,
     [](const char*, const char* value, NbSettings& s) {
         if (value != nullptr) scanInt(value, s.nameColumn);
         if (s.nameColumn < 0 || s.nameColumn > 2) s.nameColumn = 0;
     }},
};

void addName(const char* name, NbSettings& settings)
{
    std::string* const names[] = {&settings.inputName, &settings.outputName, &settings.setupName};
    if (settings.nameCount >= 3) return;
    *names[settings.nameCount] = name;
    ++settings.nameCount;
}

} // namespace

NbSettings parseCommandLine(std::span<const char* const> arguments)
{
    NbSettings settings;
    for (const char* const argument : arguments) {
        if (argument[0] != '-') {
            addName(argument, settings);
            continue;
        }
        const int letter = std::tolower(static_cast<unsigned char>(argument[1]));
        const auto* const option =
            std::find_if(std::begin(optionTable), std::end(optionTable),
                         [&](const Option& row) { return row.letter == letter; });
        if (letter == '\0' || option == std::end(optionTable)) continue;
        const char* const form = argument + 2;
        option->parse(form, form[0] == '=' ? form + 1 : nullptr, settings);
    }
    return settings;
}

void printUsage()
{
    std::puts("Usage : nimbex [options] input-file output-file [setup-file]");
    for (const Option& option : optionTable)
        if (option.usage != nullptr) std::puts(option.usage);
}
