#pragma once
/**
 * Where the cells of a nimbex file lie on earth. A latitude-longitude grid says so in its header;
 * any other map takes the projection's word and the setup file of its conversion.
 */
#include "geo/nbProj.h"
#include "tools/view/gridFile.h"

#include <optional>
#include <string>
#include <vector>

namespace nbView {

// A map in the words of PROJ and GDAL.
struct SpatialReference {
    std::string definition; // "EPSG:4326" or a PROJ string in metres
    bool geographic = false;
    double west = 0, north = 0;  // outer corner of the first cell: degrees or metres
    double stepX = 0, stepY = 0; // likewise
};

class MapGeometry {
public:
    // `word`: what the conversion had behind -p=; `setup`: path of its setup file. Throws
    // std::runtime_error when they do not fit the file, or the file needs them and they are
    // missing.
    MapGeometry(const GridFile& grid, const std::optional<std::string>& word,
                const std::optional<std::string>& setup);

    struct Points {
        std::vector<double> lon, lat; // degrees; -9999.0 where a cell sees no earth
        std::vector<float> x, y;      // cells from 0 at the centre of the first; -9999.0: no image
        void add(double pointLon, double pointLat)
        {
            lon.push_back(pointLon);
            lat.push_back(pointLat);
        }
    };
    void toCells(Points& points) const; // lon, lat to x, y
    void toEarth(Points& points) const;

    // True when meridians are parallel lines.
    bool isCylindrical() const
    {
        return map_.prjType == NB_PROJ_GRID || map_.prjType == NB_PROJ_MERC;
    }

    // True when a line between two neighbouring places runs around the back of the map.
    bool isTorn(double lon0, double lon1) const;

    // Empty where no definition exists: the disk and the oblique stereographic map of the
    // ellipsoid, and its grid.
    std::optional<SpatialReference> reference() const;

private:
    bool fitsCorners(const GridFile& grid) const;
    void centreGrid();

    NbProjPara map_{};
};

} // namespace nbView
