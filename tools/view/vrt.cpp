// nimbex-view vrt: lets GDAL read a file where it lies.
#include "tools/view/commands.h"
#include "tools/view/mapGeometry.h"
#include "tools/view/quantity.h"
#include "tools/wholeFile.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

namespace nbView {
namespace {

namespace fs = std::filesystem;

std::string escaped(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

// Longest text that stands for a double; GDAL's own texts have 17 digits too.
std::string exact(double value)
{
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.17g", value);
    return buffer;
}

// Level and value of every level that can stand in the file; "nan" has no value. GDAL goes on with
// the last entry above it.
std::string lookUp(const GridFile& grid)
{
    const int most = grid.pixelBytes == 1 ? 255 : 65535;
    const int last = std::min(static_cast<int>(grid.table.size()), most);
    std::string out;
    for (int level = 0; level <= last; ++level) {
        const float value = grid.value(level);
        if (level > 0) out += ",";
        out += std::to_string(level) + ":" + (std::isnan(value) ? "nan" : text(value));
    }
    return out;
}

// One element on a line of its own.
std::string element(const std::string& name, const std::string& text,
                    const std::string& attributes = "")
{
    return "  <" + name + attributes + ">" + escaped(text) + "</" + name + ">\n";
}

// The file that a band reads.
struct Source {
    std::string path;
    bool relative = true; // to the dataset's own folder
};

std::string element(const Source& source)
{
    return element("SourceFilename", source.path,
                   source.relative ? " relativeToVRT=\"1\"" : " relativeToVRT=\"0\"");
}

std::string geography(const SpatialReference& reference)
{
    return element("SRS", reference.definition,
                   reference.geographic ? " dataAxisToSRSAxisMapping=\"2,1\""
                                        : " dataAxisToSRSAxisMapping=\"1,2\"") +
           element("GeoTransform", exact(reference.west) + ", " + exact(reference.stepX) + ", 0, " +
                                       exact(reference.north) + ", 0, " + exact(-reference.stepY));
}

std::string levelBand(const GridFile& grid, const Source& data)
{
    return std::string("<VRTRasterBand dataType=\"") + (grid.pixelBytes == 1 ? "Byte" : "UInt16") +
           "\" band=\"1\" subClass=\"VRTRawRasterBand\">\n" + element("Description", "level") +
           element("NoDataValue", std::to_string(grid.invalid)) + element(data) +
           element("ImageOffset", std::to_string(grid.cellsAt)) +
           element("PixelOffset", std::to_string(grid.pixelBytes)) +
           element("LineOffset", std::to_string(grid.rowBytes)) + element("ByteOrder", "LSB") +
           "</VRTRasterBand>\n";
}

// Looks the first band's levels up in the table. It is a derived band, of the real part of a real
// number, for the sake of readers that ask for complex numbers (gdallocationinfo): a plain one
// would hand them the levels.
std::string valueBand(const GridFile& grid, const std::string& ownName)
{
    const Meaning meaning = meaningOf(grid.label);
    return "<VRTRasterBand dataType=\"Float32\" band=\"2\" subClass=\"VRTDerivedRasterBand\">\n" +
           element("Description", meaning.name) + element("UnitType", meaning.unit) +
           element("NoDataValue", "nan") + element("PixelFunctionType", "real") +
           element("SourceTransferType", "Float32") + "  <ComplexSource>\n" +
           element(Source{ownName}) + element("SourceBand", "1") +
           element("NODATA", std::to_string(grid.invalid)) + element("LUT", lookUp(grid)) +
           "  </ComplexSource>\n</VRTRasterBand>\n";
}

// Where a file to be written will lie: a symbolic link stays, and its target is written. GDAL
// follows the link too before it looks for a dataset's files.
fs::path placeOf(const std::string& output)
{
    const std::string place = nbpFollowLinks(output);
    return fs::absolute(place.empty() ? output : place);
}

int run(const CommandLine& line)
{
    const std::string& input = line.positional()[0];
    const std::string output = line.positional().size() > 1 ? line.positional()[1] : input + ".vrt";
    requireOther(output, {input, line.text("--setup").value_or("")});
    const GridFile grid = readGridFile(input);
    if (grid.compressed)
        throw std::runtime_error(input + " : is SZDD-compressed, and GDAL reads plain cells; "
                                         "expand it first, for instance with msexpand");
    std::optional<SpatialReference> reference;
    if (grid.isGrid || line.has("-p") || line.has("--setup")) {
        reference = MapGeometry(grid, line.text("-p"), line.text("--setup")).reference();
        if (!reference)
            std::fprintf(stderr, "nimbex-view : %s : no spatial reference, PROJ has no such map\n",
                         output.c_str());
    } else {
        std::fprintf(stderr,
                     "nimbex-view : %s : no spatial reference; the file does not hold its "
                     "projection, -p=WORD and --setup FILE give it\n",
                     output.c_str());
    }

    const fs::path ownPath = placeOf(output);
    // Empty when there is no way from the one to the other.
    const std::string nearby = fs::relative(input, ownPath.parent_path()).string();
    const Source data =
        nearby.empty() ? Source{fs::absolute(input).string(), false} : Source{nearby};
    const std::string text = "<VRTDataset rasterXSize=\"" + std::to_string(grid.columns) +
                             "\" rasterYSize=\"" + std::to_string(grid.rows) + "\">\n" +
                             (reference ? geography(*reference) : "") + levelBand(grid, data) +
                             valueBand(grid, ownPath.filename().string()) + "</VRTDataset>\n";
    writeWholeFile(output, std::as_bytes(std::span(text)));
    return 0;
}

constexpr OptionSpec options[] = {projectionOption, setupOption};

} // namespace

constexpr CommandSpec vrtCommand{
    "vrt",
    "FILE [OUT.vrt]",
    "A GDAL dataset over the file's own bytes: band 1 the levels, band 2 their physical values.\n"
    "OUT.vrt is FILE.vrt when it is not given. GDAL looks for FILE beside it, by a relative path.\n"
    "gdalwarp and gdal_translate into a GeoTIFF need -ot Float32: band 1 has whole numbers.",
    options,
    1,
    2,
    run};

} // namespace nbView
