#pragma once
/**
 * The levels of the map grid, taken from the open objects.
 */
#include "frontend/options.h"
#include "geo/nbProj.h"
#include "sat/nbSatObject.h"
#include "util/nbUtlFreer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>

// A plane of the grid, zeroed. Its pages are not touched before they are written.
template <class T>
class NbPlane {
public:
    NbPlane() = default;
    NbPlane(std::size_t cells, const char* caller)
        : data_(static_cast<T*>(nbUtlCalloc(cells, sizeof(T), caller))), size_(cells)
    {
        if (!data_) throw std::bad_alloc();
    }
    T* data() { return data_.get(); }
    std::size_t size() const { return size_; }
    std::span<T> span() { return {data_.get(), size_}; }
    std::span<const T> span() const { return {data_.get(), size_}; }

private:
    std::unique_ptr<T[], NbUtlFreer> data_;
    std::size_t size_ = 0;
};

/**
 * nbSatGetI2ProjData with its owner and information planes. With `mode` 0 the first object alone
 * gives them: its count of linked objects is 0 during the call and 1 afterwards.
 */
int fetchWithOwners(NbSatObject* object, NbProjPara& map, int mode, int infoSel,
                    std::int16_t* cells, double* info, std::uint8_t* owner);

/**
 * Fills `cells` with the levels of the selected element.
 *
 * With the sun adjustment on, reflectances are divided by the cosine of the sun's zenith angle,
 * strip by strip. Otherwise a cell that no object gave is -1 from version 1.1 on.
 *
 * @param map    rows and reference row are used for the strips and put back. Deliberate: the
 *               reference row comes back as a whole number, cut toward zero; nothing reads it
 *               afterwards, so to mend it changes nothing but this record.
 * @param cells  columns x rows
 * @return result of nbSatGetI2ProjData: negative on failure
 */
int fetchLevels(std::span<NbSatObject> objects, NbProjPara& map, const NbSettings& settings,
                std::span<std::int16_t> cells);

/**
 * Divides levels by the cosine of the sun's zenith angle, which counts as at least 0.3.
 *
 * @param owner   255: the cell is left as it is
 * @param zenith  of the sun, degrees; from 90 on the cell is left as it is
 * @param glint   empty, or the glint angle in degrees: near the glint the level is lowered
 * @param levels  results are limited to 0 and levels - 1
 */
void divideBySunHeight(std::span<std::int16_t> cells, std::span<const std::uint8_t> owner,
                       std::span<const double> zenith, std::span<const double> glint, int levels);
