#pragma once
#include "tests/support/conversions.h"
#include "tests/support/landmarkScene.h"

// A match with the landmarks of a small scene, whose shift goes to a file.
inline Conversion landmarkRun()
{
    const TempDir dir;
    const LandmarkMap map;
    LandmarkScene{.size = 100, .offLine = 0, .dx = 3, .dy = -2}.write(dir / "in");
    Conversion run{"landmark", readFile(dir / "in"), 122, 5, 1};
    run.options = {"-k=40,100,-40,160", "-d=@/", "-h=@/shift"};
    run.others["nbMap30.dat"] = readFile(map.path());
    run.others["shift"] = Bytes(4, std::byte{'1'});
    run.rewritten = "shift";
    run.stride = 13;
    return run;
}
