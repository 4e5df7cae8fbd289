// Writes the fuzzers' first inputs, one folder a target: small files of each format from the
// synthesisers, and texts.
#include "fuzz/nativePieces.h"
#include "tests/synth/synthGvar.h"
#include "tests/synth/synthHisd.h"
#include "tests/synth/synthHrit.h"
#include "tests/synth/synthNative.h"
#include "tests/synth/synthNoaa.h"
#include "tests/synth/synthRdat.h"
#include "tests/synth/synthVissr.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::filesystem::path root; // set once by main

// The next seed of a target.
void put(const std::string& target, std::string_view bytes)
{
    const auto folder = root / target;
    std::filesystem::create_directories(folder);
    int n = 0;
    while (std::filesystem::exists(folder / std::to_string(n)))
        ++n;
    std::ofstream file(folder / std::to_string(n), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A seed of an image target, with its byte of choices behind the file. The first of each format is
// also one of the detection.
template <class Synth>
void putFile(const std::string& target, const Synth& synth, int choices = 0)
{
    std::string text;
    for (const std::byte byte : synth.bytes())
        text.push_back(std::to_integer<char>(byte));
    text.push_back(static_cast<char>(choices));
    if (!std::filesystem::exists(root / target)) put("detect", text);
    put(target, text);
}

void putHisd()
{
    const SynthHisd disk{.columns = 40, .diskLines = 40};
    SynthHisd file = disk;
    file.errorLines = {{5, 40}, {6, 3}};
    file.corrections = {{1, 0.5F, 0.25F}, {40, -1, 1}};
    file.rotationMicrorad = 12;
    putFile("hisd", file, 3);
    file = disk;
    file.band = 3;
    file.bigEndian = true;
    putFile("hisd", file, 16 + 4);
    putFile("hisd", disk.split(3)[1], 32);
    file = disk;
    file.satellite = "MTSAT-2";
    file.band = 1;
    putFile("hisd", file, 64 + 8);
}

void putHrit()
{
    const SynthHrit disk{.columns = 40, .imageLines = 40};
    putFile("hrit", disk, 2);
    SynthHrit file = disk;
    file.bigEndian = false;
    putFile("hrit", file, 128 + 16);
    file = disk;
    file.annotation = "IMG_DK01VIS_200608010300_001 MTSAT1";
    file.bitsPerPixel = 16;
    putFile("hrit", file, 32 + 4);
    putFile("hrit", disk.split(2, 3)[1], 64);
    file.compression = 1;
    putFile("hrit", file);
    file = disk;
    for (const char* const projection : {"POLAR(N,140.00)", "MERCATOR"}) {
        file.projection = projection;
        putFile("hrit", file, 16 + 32);
    }
    file = disk;
    file.quality = "LINE:=5\rERROR:=2.5\rLINE:=7\rERROR:=90\r";
    file.comp = file.times = "-";
    putFile("hrit", file, 3);
    file.annotation = "IMG_DK01IR1_200608010300_001 MTSAT2"; // its gaps are filled
    file.columns = file.imageLines = 64;
    file.fill = [](int line, std::span<std::uint16_t> counts) {
        for (std::size_t i = 0; i < counts.size(); ++i)
            counts[i] = line % 6 < 2 && i > 12 && i < 45 ? 1023 : static_cast<std::uint16_t>(9 * i);
    };
    putFile("hrit", file, 2);
    // Its own scan times: a raster of doubles behind the headers, of which one in ten is none.
    file = disk;
    file.bigEndian = false;
    while (file.recordOffset(10) % sizeof(double) != 0)
        file.annotation += ' ';
    std::vector<double> times(40 * 40, 53948.13);
    for (std::size_t i = 0; i < times.size(); i += 10)
        times[i] = -1;
    const auto raster = std::as_bytes(std::span(times));
    file.image.assign(raster.begin(), raster.end());
    for (const char* const channel : {"VIS", "IR1"}) {
        file.annotation.replace(8, 3, channel);
        putFile("hrit", file, 128);
        putFile("hrit", file, 128 + 64 + 16);
    }
}

// What fuzzNative.cpp makes a raw file of.
void putRawNative(SynthNative file, int choices)
{
    file.raw = true;
    const std::vector<std::byte> bytes = file.bytes();
    std::string text;
    const auto take = [&](std::size_t offset, std::size_t size) {
        for (std::size_t i = offset; i < std::min(offset + size, bytes.size()); ++i)
            text.push_back(std::to_integer<char>(bytes[i]));
    };
    for (const NativePiece& piece : nativePieces)
        take(piece.offset, piece.size);
    take(nativeLinesOffset, 2000);
    text.push_back(static_cast<char>(choices));
    put("native", text);
}

void putNative()
{
    putFile("native", SynthNative{}, 16 + 1);
    putFile("native", SynthNative{.channels = {4, 11}, .hrvLines = 30, .origin = 0}, 32 + 4);
    putFile("native", SynthNative{.channels = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, .lines = 4}, 64);
    putRawNative(SynthNative{.channels = {8}}, 4);
    putRawNative(SynthNative{.channels = {11}, .hrvOrigin = 1}, 16 + 32);
}

void putRdat()
{
    SynthRdat file{.columns = 40, .lines = 20};
    putFile("rdat", file);
    file.band = 3;
    file.bigEndian = true;
    putFile("rdat", file, 16 + 4);
    file.southUp = true;
    file.clockCount = 0;
    file.distortionMode = 1;
    file.calibrationMode = 1;
    file.satellite = '9';
    putFile("rdat", file, 32);
    for (file.distortionMode = 2; file.distortionMode <= 3; ++file.distortionMode)
        putFile("rdat", file, 64);
}

void putGvar()
{
    SynthGvar file{.south = 7816, .east = 15232};
    putFile("gvar", file);
    file.south = 7808; // one scan
    file.records = false;
    putFile("gvar", file, 16 + 4);
    file.damage = {
        {.block = 1, .invalid = true}, {.block = 3, .junk = 50}, {.block = 4, .missing = true}};
    putFile("gvar", file, 128 + 2);
    file.longPrefix = file.records = file.flipped = true;
    file.imcOff = false;
    file.satellite = 12;
    putFile("gvar", file, 64);
    file.oa = {{4, -1.3}, {5, 0.1}, {50, 2}, {51, 0.001}, {52, 0.5}, {60, 1}};
    putFile("gvar", file, 32);
}

void putVissr()
{
    for (const int variant : {0, 1})
        for (const bool ebcdic : {false, true}) {
            SynthVissr file{.variant = variant,
                            .ebcdic = ebcdic,
                            .columns = 40,
                            .lines = 12,
                            .orbitEntries = 9};
            putFile("vissr", file, 16 * variant + 4);
            file.channel = 0;
            file.missing = {2, 3, 7};
            putFile("vissr", file, 64 + 2);
        }
    putFile("vissr", SynthVissr{.channel = 3, .satellite = "GOES-9", .columns = 40, .lines = 12});
}

void putNoaa()
{
    SynthNgac file;
    file.lines = 12;
    putFile("ngac", file, 1);
    file.selection = [](int line) { return line / 4 % 2; };
    file.channels = "YYYNY";
    file.orbit.startArg = 140; // southward
    putFile("ngac", file, 32 + 4);
    file.format = "NOAA Level 1b v4";
    file.version = 4;
    file.name = "NSS.GHRR.M2.D08187.S1904.E2058.B0921517.SV";
    putFile("ngac", file, 64);

    SynthNgacv1 old;
    old.lines = 12;
    putFile("ngacv1", old, 1);
    old.leading = true;
    old.lines = 9;
    old.satellite = 7;
    putFile("ngacv1", old, 64 + 4);
}

// A map of tiles of 90 degrees: water, land, and two with rings; size and checksums are left to the
// target.
void putMap()
{
    std::string map = "NBMAP30\n";
    map += std::string("\1\0\x5A\0", 4); // version, degrees
    map.resize(64);
    for (const int length : {0, -1, 9, 7, 0, 0, 0, 0}) {
        for (const int shift : {0, 8, 16, 24})
            map.push_back(static_cast<char>(length >> shift));
        map.append(4, '\0');
    }
    map.append(4, '\0');
    map += std::string("\1\3\x80\1\x80\2\x80\1\1", 9); // a triangle
    map += std::string("\1\3\2\2\2\1\1", 7);
    map += std::string("\2\3\x02\x02\x04\x01\x01\x04\3\x10\x10\2\2\1\2", 15);
    put("map", map);
}

void putTexts()
{
    put("setup", "PRJCLON 140\nSTDLON 140\nSTDLAT 35\nSTDXPOS 600\nSTDYPOS 600\nSTDXSIZ 8\n"
                 "STDYSIZ 8\nSTDXNUM 1201\nSTDYNUM 1201\nBITLEN -8\nVERSION 1.1\n;\nCMPFLG 1\n");
    put("setup", "0 1.5\n1 -3e3\n255 12\n256 1\n-1 5\n");
    put("setup", "-1.5,2.25\n");
    put("setup", "/a/b.dat\n/c.dat ?type=hisd\n");
    put("text", std::string("\x03key\nother=1\nkey = 12 , 3\nkey 4\n"));
    put("text", std::string("\x17key\nkey,1.5;a b\n"));
    put("text", std::string("\x01name\nname = \xC7\xD4\xE2\n\n\n"));
    put("szdd", "");
    put("szdd", std::string(5000, ' ') + std::string(40, 'a') + "abcabcabc");
    std::string mixed;
    for (int i = 0; i < 9000; ++i)
        mixed.push_back(static_cast<char>(i * i / 7));
    put("szdd", mixed);

    const std::string small = "\n\nSTDXNUM 20\nSTDYNUM 16\nSTDXSIZ 3\nSTDYSIZ 3\nSTDLON 120\n"
                              "STDLAT 40\n";
    const std::string cutOut = "\n\nSTDXNUM 9\nSTDYNUM 7\nSTDXSIZ 30\nSTDYSIZ 20\nSTDXPOS 2\n";
    const std::string wide = "\n\nSTDXNUM 20\nSTDYNUM 20\nSTDXSIZ 600\nSTDYSIZ 600\n";
    for (const std::string& run :
         {'\0' + std::string("-p=grid\n-v\n-b=8") + small,
          '\1' + std::string("-s=1\n-p=grid") + small, '\2' + std::string("-s=2\n-p=merc") + wide,
          '\3' + std::string("-s=3\n-p=zoom") + cutOut,
          '\5' + std::string("-a=4\n-p=grid\n-b=-10\n-n\n-e") + small,
          '\6' + std::string("-m=3\n-p=disk\n-c=0\n-g=4") + wide,
          '\7' + std::string("-c=2\n-p=zoom\n-z\n-i=2") + cutOut,
          '\10' + std::string("-c=3\n-p=ps\n-h:=1.5,-2\n-w=1\n-y=1") + wide,
          '\11' + std::string("-c=0\n-p=lamb\n-h*2=x\n-v=1.2") + wide,
          '\12' + std::string("-c=3\n-p=zoom\n-t=x\n-k=10,120,40,150\n-d=x\n-f") + cutOut})
        put("command", run);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: fuzz_seeds directory\n", stderr);
        return 2;
    }
    root = argv[1];
    putHisd();
    putHrit();
    putNative();
    putRdat();
    putGvar();
    putVissr();
    putNoaa();
    putMap();
    putTexts();
}
