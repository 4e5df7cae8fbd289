#pragma once
/**
 * Runs that fail somewhere, again and again, each time one call later: what such a run may leave.
 */
#include "tests/support/conversions.h"

#include <gtest/gtest.h>
#include <set>

// Conversions of more than one input file, and one through the decoder of DecoderScene.
inline std::vector<Conversion> furtherRuns()
{
    const SynthHisd disk{.columns = 40, .diskLines = 40};
    const auto text = [](std::string_view content) {
        const auto bytes = std::as_bytes(std::span(content));
        return Bytes(bytes.begin(), bytes.end());
    };
    Conversion list{"list", {}, 125, 20, 5, {"-m=2", "-h=@/shift", "-t=@/table"}};
    for (const SynthHisd& part : disk.split(3)) {
        list.listed.push_back("part" + std::to_string(part.segment));
        list.others[list.listed.back()] = part.bytes();
    }
    list.others["shift"] = text("0.7,-1.2\n");
    list.others["table"] = text("9 250\n200 290\n");

    SynthHisd second = disk;
    second.band = 15;
    Conversion pair{"difference of files", disk.bytes(), 125, 20, 5, {"-s", "-i=2"}, "B13"};
    pair.others = {{"B13", disk.bytes()}, {"B15", second.bytes()}};

    const Bytes gvar = SynthGvar{}.bytes();
    Conversion channels{"difference of a list", {}, -75.4, 0.8, 0.03, {"-s", "-m"}};
    channels.others = {{"1", gvar}, {"2", gvar}};
    channels.listed = {"1", "2"};

    const SynthHrit jpeg{.columns = 40, .imageLines = 40, .compression = 1};
    Conversion decoded{"decoder", jpeg.bytes(), 125, 20, 5};
    decoded.stride = 6; // a fork under the sanitizer takes long
    return {list, pair, channels, decoded};
}

inline std::vector<Conversion> allRuns()
{
    std::vector<Conversion> runs = conversions();
    std::ranges::move(furtherRuns(), std::back_inserter(runs));
    return runs;
}

// For its scope, compressed files are decoded by a script, and temporary files lie in `place`.
class DecoderScene {
public:
    DecoderScene(const std::string& place, const std::string& script)
        : tool_("#!/bin/sh\n" + script + "\n")
    {
        std::filesystem::permissions(tool_.path(), std::filesystem::perms::owner_all);
        setenv("NB_HRIT_JPEG_DECODER", tool_.path().c_str(), 1);
        setenv("TMPDIR", place.c_str(), 1);
    }
    ~DecoderScene()
    {
        unsetenv("NB_HRIT_JPEG_DECODER");
        before_.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", before_.c_str(), 1);
    }
    DecoderScene(const DecoderScene&) = delete;
    DecoderScene& operator=(const DecoderScene&) = delete;

    // Hands the samples on as they are.
    static constexpr const char* copies = "exec cp \"$2.jpg\" \"$2.jpg.0\"";

private:
    std::string before_ = std::getenv("TMPDIR") != nullptr ? std::getenv("TMPDIR") : "";
    TempFile tool_;
};

struct Sweep {
    std::set<int> codes; // but for 0
    int failed = 0;      // runs with a code
};

/**
 * Runs a conversion with `makeFailure(k)` in force, k from 1 on by `step`, until a run makes fewer
 * calls than k.
 *
 * Either a code says that it failed and the old output stays, or the output is the good one: an
 * image that lacks what could not be read or held looks like any other. What is taken is given
 * back, which the sanitizer build checks for memory.
 *
 * @param makeFailure  gives an object with fired() and stop(), such as AllocFailure
 * @param cuts         the failure makes an input shorter, of which what is there is converted
 */
template <class MakeFailure>
Sweep sweep(const Conversion& conversion, MakeFailure makeFailure, int step = 1, bool cuts = false)
{
    Sweep result;
    StderrCapture quiet;
    ConversionFolder folder(conversion, "-z");
    const DecoderScene decoder(folder.dir.path(), DecoderScene::copies);
    EXPECT_EQ(folder.run(), 0) << conversion.format;
    const Bytes good = folder.output();
    const Bytes before =
        conversion.rewritten.empty() ? Bytes() : conversion.others.at(conversion.rewritten);
    const Bytes after = folder.rewritten();
    EXPECT_FALSE(folder.isAsBefore()) << conversion.format;
    const long descriptors = openDescriptors();
    int k = 1;
    for (bool more = true; more; k += step) {
        folder.reset();
        auto failure = makeFailure(k);
        const int code = folder.run();
        failure.stop();
        more = failure.fired();
        const std::string where = conversion.format + ", call " + std::to_string(k);
        if (code == 0) {
            EXPECT_TRUE(cuts || folder.output() == good) << where;
        } else {
            EXPECT_TRUE(folder.isAsBefore()) << where << ": " << code;
            result.codes.insert(code);
            ++result.failed;
        }
        const Bytes now = folder.rewritten();
        EXPECT_TRUE(cuts || now == before || now == after) << where;
        EXPECT_TRUE(folder.isTidy()) << where;
    }
    EXPECT_TRUE(folder.inputIsUntouched()) << conversion.format;
    EXPECT_EQ(openDescriptors(), descriptors) << conversion.format;
    return result;
}
