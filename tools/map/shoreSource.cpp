#include "tools/map/shoreSource.h"

#include "tools/map/gshhg.h"
#include "tools/map/shoreTiles.h"

#include <filesystem>

ShoreSource readShoreSource(const std::string& path)
{
    if (path.ends_with(".nc")) return readGshhg(path);
    return {.name = std::filesystem::path(path).filename(), .land = readLandRings(path)};
}

void makeShoreMap(const std::string& sourcePath, const std::string& mapPath)
{
    const ShoreSource source = readShoreSource(sourcePath);
    ShoreTiles tiles(source.tileDegrees);
    for (const LandRing& ring : source.land)
        tiles.add(ring.points);
    tiles.write(mapPath, source.name);
}
