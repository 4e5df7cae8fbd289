// Any bytes as each of the program's small text files: setup, level table, list of names, shift.
#include "frontend/inputs.h"
#include "frontend/levelTable.h"
#include "frontend/mapGrid.h"
#include "frontend/setupFile.h"
#include "fuzz/fuzzFile.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const FuzzFile file({data, size});
    const std::string path = file.path();
    const std::string shift = "-h*9=" + path;
    const std::vector<const char*> arguments = {shift.c_str()};
    NbSettings settings = parseCommandLine(arguments);
    NbProjPara map = defaultMap(settings.projection);
    applySetupFile(path.c_str(), settings, map);

    std::vector<float> table(256);
    readTableFile(path.c_str(), table);
    std::string names;
    readNameList(path.c_str(), names);
    return 0;
}
