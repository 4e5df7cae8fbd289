/**
 * makeScene: writes a full disk of an invented but believable day in Himawari Standard Data, as
 * one file or in segments, for demonstrations and measurements. The same arguments give the same
 * bytes.
 */
#include "tools/arguments.h"
#include "tools/scene.h"
#include "tools/wholeFile.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace {

constexpr char usage[] =
    "Usage : makeScene [options] directory\n"
    "  --band=N        band, 1 to 16 (13)\n"
    "  --size=N        columns and lines of the disk (5500)\n"
    "  --segments=N    files that the disk is cut into (1)\n"
    "  --time=YYYYMMDDhhmm  nominal time, UTC (202008010300)\n"
    "  --threads=N     threads (as many as the machine has)\n"
    "  --land=FILE     rings of coast\n"
    "The names of the files written go to standard output, the progress to standard error.\n";

double mjdOf(const std::string& text)
{
    int y = 0, month = 0, d = 0, h = 0, minute = 0;
    if (std::sscanf(text.c_str(), "%4d%2d%2d%2d%2d", &y, &month, &d, &h, &minute) != 5)
        throw std::runtime_error("--time=" + text + " : YYYYMMDDhhmm expected");
    namespace chrono = std::chrono;
    const chrono::year_month_day date{chrono::year{y}, chrono::month{static_cast<unsigned>(month)},
                                      chrono::day{static_cast<unsigned>(d)}};
    if (!date.ok() || h < 0 || h > 23 || minute < 0 || minute > 59)
        throw std::runtime_error("--time=" + text + " : no such time");
    const auto days =
        (chrono::sys_days{date} - chrono::sys_days{chrono::year{1858} / 11 / 17}).count();
    return static_cast<double>(days) + (h * 60 + minute) / 1440.0;
}

// Lines of the disk in pieces of many lines, each made by all threads when its first is asked for.
class Lines {
public:
    Lines(const Scene& scene, const SynthHisd& disk, int threads)
        : scene_(scene), columns_(static_cast<std::size_t>(disk.columns)), lines_(disk.diskLines),
          threads_(threads)
    {
    }

    void copy(int line, std::span<std::uint16_t> counts)
    {
        if (line < first_ || line >= first_ + held_) make(line);
        const auto at = static_cast<std::ptrdiff_t>(columns_) * (line - first_);
        std::copy_n(counts_.begin() + at, columns_, counts.begin());
    }

private:
    void make(int line)
    {
        constexpr int piece = 500;
        first_ = line;
        held_ = std::min(piece, lines_ - line + 1);
        counts_.resize(columns_ * piece);
        std::atomic<int> next = 0;
        const auto work = [&] {
            for (int i = next++; i < held_; i = next++)
                scene_.line(first_ + i, std::span(counts_).subspan(
                                            columns_ * static_cast<std::size_t>(i), columns_));
        };
        std::vector<std::jthread> helpers;
        for (int i = 1; i < threads_; ++i)
            helpers.emplace_back(work);
        work();
        helpers.clear(); // waits for them
        std::fprintf(stderr, "\rmakeScene : line %d of %d", first_ + held_ - 1, lines_);
        if (first_ + held_ > lines_) std::fprintf(stderr, "\n");
    }

    const Scene& scene_;
    std::size_t columns_;
    int lines_;
    int threads_;
    int first_ = 0;
    int held_ = 0;
    std::vector<std::uint16_t> counts_;
};

void run(const Arguments& arguments)
{
    SynthHisd disk;
    disk.band = arguments.number("band", 13, 1, 16);
    disk.columns = arguments.number("size", 5500, 16, 32767);
    disk.diskLines = disk.columns;
    const int segments = arguments.number("segments", 1, 1, 99);
    const double nominal = mjdOf(arguments.text("time", "202008010300"));
    disk.startMjd = nominal + 20.5 / 86400;
    disk.endMjd = nominal + 600.5 / 86400;
    const int cores = static_cast<int>(std::max(std::thread::hardware_concurrency(), 1U));
    const int threads = arguments.number("threads", cores, 1, 256);

    const Scene scene(disk, readLandRings(arguments.text("land", TOOLS_DATA "/land.txt")));
    Lines lines(scene, disk, threads);
    disk.fill = [&](int line, std::span<std::uint16_t> counts) { lines.copy(line, counts); };
    const std::filesystem::path directory = arguments.positional().at(0);
    std::filesystem::create_directories(directory);
    for (const SynthHisd& file : disk.split(segments)) {
        const std::string path = (directory / file.fileName()).string();
        writeWholeFile(path, [&](const NbWholeFile& out) {
            file.write(out.currentPath());
            return true;
        });
        std::printf("%s\n", path.c_str());
    }
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const Arguments arguments(argc, argv,
                                  {"band", "size", "segments", "time", "threads", "land"});
        if (arguments.positional().size() != 1) {
            std::fputs(usage, stderr);
            return 1;
        }
        run(arguments);
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "makeScene : %s\n", e.what());
        return 1;
    }
}
