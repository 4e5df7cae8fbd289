/**
 * The blocks of a raw scan file, taken apart. They follow each other without gaps: creation,
 * structure, observation, calibration, navigation, clock (PSIC); then the line records at the
 * offset that the structure block states.
 */
#include "drivers/rdat/nbRdatFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"
#include "util/nbUtlByteOrder.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

constexpr std::size_t observationOffset = 0xA0;
constexpr std::size_t calibrationOffset = 0xF8;
constexpr std::size_t lineHead = 0x90; // of a line record: then the clock's tables, then pixels
constexpr int longestSide = std::numeric_limits<std::int16_t>::max();
constexpr double secondsPerDay = 86400.0;

// Reads the file's blocks in their order. Every function gives one of NbRdatOpenResult.
class Reader {
public:
    Reader(std::span<const std::byte> bytes, NbByteOrder order, const char* path, NbRdatFile* file)
        : bytes_(bytes), in_(bytes, order), order_(order), path_(path), file_(file),
          header_(file->header)
    {
    }

    int read()
    {
        getFileCreate();
        getFileStruct();
        if (const int code = chkRdat(); code != NB_RDAT_OPEN) return code;
        if (const int code = getObsInfo(); code != NB_RDAT_OPEN) return code;
        if (const int code = getCalBlock(); code != NB_RDAT_OPEN) return code;
        if (const int code = getNavBlock(); code != NB_RDAT_OPEN) return code;
        if (const int code = getPsicBlock(); code != NB_RDAT_OPEN) return code;
        return getRdatLineData();
    }

private:
    // A time of the file, brought to UTC. The leap seconds are a float's fraction of a day.
    double time() { return utc(in_.get<double>()); }
    double utc(double mjd) const { return mjd - static_cast<double>(header_.leapDays); }

    void getFileCreate()
    {
        in_.skip(4); // "HIMA"
        header_.satellite = static_cast<int>(in_.get<std::uint8_t>()) - '0';
        in_.seek(0x60); // then texts, the byte order flag and two times of creation
        header_.leapDays = nbpToFloat(in_.get<std::int32_t>() / secondsPerDay);
        in_.skip(4);
    }

    void getFileStruct()
    {
        totalSize_ = in_.get<std::uint32_t>();
        header_.firstLine = in_.get<std::uint32_t>();
        in_.skip(6 * 4); // sizes of blocks
        lines_ = in_.get<std::uint32_t>();
        columns_ = in_.get<std::uint32_t>();
        header_.lineSize = in_.get<std::uint32_t>();
        in_.skip(2 * 4);
    }

    int chkRdat()
    {
        if (!in_.ok() || totalSize_ != bytes_.size()) {
            nbpLogError("nbRdatOpenFile() : %s: the file says %lu bytes, it has %lu\n", path_,
                        static_cast<unsigned long>(totalSize_),
                        static_cast<unsigned long>(bytes_.size()));
            return NB_RDAT_BAD_SIZE;
        }
        if (lines_ < 1 || lines_ > longestSide || columns_ < 1 || columns_ > longestSide) {
            nbpLogError("nbRdatOpenFile() : %s: %lu columns and %lu lines, expected 1 to %d of "
                        "each\n",
                        path_, static_cast<unsigned long>(columns_),
                        static_cast<unsigned long>(lines_), longestSide);
            return NB_RDAT_BAD_SIZE;
        }
        header_.lines = static_cast<int>(lines_);
        header_.columns = static_cast<int>(columns_);
        return NB_RDAT_OPEN;
    }

    int getObsInfo()
    {
        in_.seek(observationOffset);
        in_.skip(4);
        const auto band = in_.get<std::uint32_t>();
        in_.skip(8);
        header_.lineStep = in_.get<double>();
        header_.pixelStep = in_.get<double>();
        in_.skip(12 + 4); // a text and a number
        header_.startMjd = time();
        header_.endMjd = time();
        if (in_.ok() && band <= 16 && nbpRdatLevels(static_cast<int>(band)) > 0) {
            header_.band = static_cast<int>(band);
            return NB_RDAT_OPEN;
        }
        nbpLogError("nbRdatOpenFile() : %s: band %lu, expected 1 to 16\n", path_,
                    static_cast<unsigned long>(band));
        return NB_RDAT_BAD_COUNT;
    }

    int getCalBlock()
    {
        NbRdatCalibration& cal = header_.calibration;
        in_.seek(calibrationOffset);
        in_.skip(0x38); // seven numbers that no formula takes
        cal.referenceMjd = time();
        cal.a = in_.get<double>();
        cal.b = in_.get<double>();
        cal.c = in_.get<double>();
        cal.wavelength = in_.get<double>();
        for (double& c : cal.polynomial)
            c = in_.get<double>();
        cal.albedo = in_.get<double>();
        in_.skip(4);
        cal.mode = in_.get<std::uint32_t>();
        const auto tables = in_.get<std::uint32_t>();
        in_.skip(4);
        if (tables > 2) {
            nbpLogError("%s(): number of temperature id = %d \n", "getCalBlock",
                        static_cast<int>(tables));
            return NB_RDAT_BAD_COUNT;
        }
        for (std::uint32_t i = 0; i < tables; ++i)
            if (const int code = getTemperatures(); code != NB_RDAT_OPEN) return code;
        for (double& a : cal.mirrorA)
            a = in_.get<double>();
        for (double& b : cal.mirrorB)
            b = in_.get<double>();
        cal.offsetRad = in_.get<double>();
        return in_.ok() ? NB_RDAT_OPEN : tooShort("getCalBlock");
    }

    // The temperatures of one mirror at even steps of time.
    int getTemperatures()
    {
        const auto id = in_.get<std::uint32_t>();
        if (id > 1) {
            nbpLogError("%s(): temperature id = %d \n", "getCalBlock", static_cast<int>(id));
            return NB_RDAT_BAD_COUNT;
        }
        const auto count = in_.get<std::uint32_t>();
        const double start = time();
        const double step = in_.get<double>();
        if (count > in_.remaining() / sizeof(double)) return tooMany("temperatures", count);
        if (nb_Rdat_Dump_Mode == 1) {
            in_.skip(count * sizeof(double));
            return NB_RDAT_OPEN;
        }
        char name[32];
        std::snprintf(name, sizeof name, "cal.tempData[%u].temp", static_cast<unsigned>(id));
        auto& table = header_.calibration.temperatures[id];
        if (!tryResize(&table, count, "getCalBlock", name)) return NB_RDAT_NO_TABLE_MEMORY;
        for (std::size_t i = 0; i < table.size(); ++i) {
            const double kelvin = in_.get<double>();
            const double later = static_cast<double>(i) * step / secondsPerDay;
            table[i] = {.mjd = kelvin < 0 ? -1.0 : start + later, .value = {kelvin}};
        }
        return NB_RDAT_OPEN;
    }

    int getNavBlock()
    {
        NbRdatNavigation& nav = header_.navigation;
        in_.skip(8);
        const auto orbits = in_.get<std::int32_t>();
        in_.skip(4);
        if (orbits <= 0 && nb_Rdat_Dump_Mode != 1) {
            nbpLogError("%s(): number of orbit data = %d \n", "getNavBlock", orbits);
            return NB_RDAT_BAD_COUNT;
        }
        // Behind position and velocity stand 18 numbers more.
        if (const int code = getTable(orbits, 18, "nav.orb", &nav.orbit); code != NB_RDAT_OPEN)
            return code;
        in_.skip(4);
        nav.distortionMode = in_.get<std::uint32_t>();
        const auto attitudes = in_.get<std::int32_t>();
        const auto mirrors = in_.get<std::int32_t>();
        const auto distortions = in_.get<std::int32_t>();
        const auto coregistrations = in_.get<std::int32_t>();
        if (attitudes <= 0) {
            nbpLogError("%s(): number of attitude data = %d \n", "getNavBlock", attitudes);
            return NB_RDAT_BAD_COUNT;
        }
        if (const int code = getTable(attitudes, 0, "nav.att", &nav.attitude); code != NB_RDAT_OPEN)
            return code;
        if (const int code = getTable(mirrors, 0, "nav.mirror", &nav.mirror); code != NB_RDAT_OPEN)
            return code;
        for (double& parameter : nav.misalignment)
            parameter = in_.get<double>();
        if (const int code = getTable(distortions, 0, "nav.distCorr", &nav.distortion);
            code != NB_RDAT_OPEN)
            return code;
        if (const int code = getTable(coregistrations, 0, "nav.coreg", &nav.coregistration);
            code != NB_RDAT_OPEN)
            return code;
        return in_.ok() ? NB_RDAT_OPEN : tooShort("getNavBlock");
    }

    // Records of a time, `width` values and `rest` more that nobody reads. A count below 1 is an
    // empty table.
    template <std::size_t width>
    int getTable(std::int32_t count, std::size_t rest, const char* field, NbRdatTable<width>* table)
    {
        const std::size_t n = count > 0 ? static_cast<std::size_t>(count) : 0;
        const std::size_t size = (1 + width + rest) * sizeof(double);
        if (n > in_.remaining() / size) return tooMany(field, n);
        if (nb_Rdat_Dump_Mode == 1) {
            in_.skip(n * size);
            return NB_RDAT_OPEN;
        }
        if (!tryResize(table, n, "getNavBlock", field)) return NB_RDAT_NO_TABLE_MEMORY;
        for (NbRdatTimed<width>& record : *table) {
            record.mjd = time();
            for (double& value : record.value)
                value = in_.get<double>();
            in_.skip(rest * sizeof(double));
        }
        return NB_RDAT_OPEN;
    }

    int getPsicBlock()
    {
        in_.skip(3 * 4);
        const auto count = in_.get<std::int32_t>();
        in_.skip(8 + 2 * 4); // time and two numbers
        header_.clockSeconds = in_.get<double>();
        const std::size_t n = count > 0 ? static_cast<std::size_t>(count) : 0;
        if (n > in_.remaining() / 8) return tooMany("PSIC", n);
        if (!tryResize(&header_.clock, n, "getPsicBlock", "psic")) return NB_RDAT_NO_TABLE_MEMORY;
        for (std::uint32_t& ticks : header_.clock) {
            ticks = in_.get<std::uint32_t>();
            in_.skip(4);
        }
        return in_.ok() ? NB_RDAT_OPEN : tooShort("getPsicBlock");
    }

    int getRdatLineData()
    {
        const auto columns = static_cast<std::size_t>(header_.columns);
        const std::int64_t used = static_cast<std::int64_t>(
            lineHead + std::size_t{2} * 8 * header_.clock.size() + columns * sizeof(std::uint16_t));
        const auto size = static_cast<std::int64_t>(bytes_.size());
        if (header_.lineSize < used ||
            header_.lines > (size - header_.firstLine) / header_.lineSize) {
            nbpLogError("nbRdatOpenFile() : %s: %d lines of %ld bytes from %ld on, in a file of "
                        "%ld and with %ld bytes used of each\n",
                        path_, header_.lines, static_cast<long>(header_.lineSize),
                        static_cast<long>(header_.firstLine), static_cast<long>(size),
                        static_cast<long>(used));
            return NB_RDAT_BAD_SIZE;
        }
        file_->lines.resize(static_cast<std::size_t>(header_.lines));
        file_->words.resize(file_->lines.size() * columns);
        for (std::size_t l = 0; l < file_->lines.size(); ++l) {
            const auto offset = static_cast<std::size_t>(header_.firstLine) +
                                l * static_cast<std::size_t>(header_.lineSize);
            const auto record = bytes_.subspan(offset, static_cast<std::size_t>(used));
            readLine(NbCursor(record, order_), &file_->lines[l]);
            std::uint16_t* words = &file_->words[l * columns];
            std::memcpy(words, record.last(columns * sizeof *words).data(),
                        columns * sizeof *words);
            if (order_ != nbCpuByteOrder) nbUtlSwapBytes(words, sizeof *words, header_.columns);
        }
        return NB_RDAT_OPEN;
    }

    void readLine(NbCursor in, NbRdatLine* line) const
    {
        in.skip(0x18); // a text and three numbers
        line->mjd = utc(in.get<double>());
        line->square = in.get<double>();
        line->slope = in.get<double>();
        line->intercept = in.get<double>();
        line->drift = in.get<double>();
        line->base = in.get<double>();
        line->rayEast = in.get<double>();
        line->rayNorth = in.get<double>();
    }

    template <class T>
    static bool tryResize(std::vector<T>* table, std::size_t n, const char* reader,
                          const char* field)
    {
        const bool done = nbpGuard(reader, false, [&] {
            table->resize(n);
            return true;
        });
        if (!done)
            nbpLogError("%s(): memory error (rdatFileHdr->%s: size=%lu) \n", reader, field,
                        static_cast<unsigned long>(n * sizeof(T)));
        return done;
    }

    int tooMany(const char* what, std::size_t count) const
    {
        nbpLogError("nbRdatOpenFile() : %s: %lu records of %s, %lu bytes remain\n", path_,
                    static_cast<unsigned long>(count), what,
                    static_cast<unsigned long>(in_.remaining()));
        return NB_RDAT_BAD_COUNT;
    }
    int tooShort(const char* reader) const
    {
        nbpLogError("%s(): %s: the file ends inside the block\n", reader, path_);
        return NB_RDAT_BAD_COUNT;
    }

    std::span<const std::byte> bytes_;
    NbCursor in_;
    NbByteOrder order_;
    const char* path_;
    NbRdatFile* file_;
    NbRdatHeader& header_;
    std::uint32_t totalSize_ = 0;
    std::uint32_t lines_ = 0;
    std::uint32_t columns_ = 0;
};

} // namespace

int nbpRdatGetRdat(std::span<const std::byte> bytes, const char* path, NbRdatFile* file)
{
    NbCursor in(bytes, NbByteOrder::Little);
    const std::string_view id = in.text(8);
    in.seek(0x48);
    // The flag is 0 for little-endian in either order.
    const auto order = in.get<std::uint32_t>() == 0 ? NbByteOrder::Little : NbByteOrder::Big;
    if (id != "HIMA8ZAN" && id != "HIMA9ZAN") {
        nbpLogError("nbRdatOpenFile() : %s: neither HIMA8ZAN nor HIMA9ZAN\n", path);
        return NB_RDAT_BAD_SIZE;
    }
    return Reader(bytes, order, path, file).read();
}
