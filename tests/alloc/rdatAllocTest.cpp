#include "tests/alloc/sampleSweep.h"
#include "tests/synth/synthRdat.h"

TEST(RdatAllocation, EveryFailureComesBackAsACode)
{
    SynthRdat scene;
    scene.columns = 40;
    scene.lines = 40;
    const TempFile file(scene.bytes());
    everyFailureComesBackAsACode(file.path());
}
