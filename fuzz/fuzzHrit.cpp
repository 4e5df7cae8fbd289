// HRIT with the settings that change how a file is read. The last byte is as in fuzzFormat.cpp; its
// highest bit makes the file its own scan time file too, and together with the one below it the
// image is read at once.
#include "drivers/hrit/nbHrit.h"
#include "fuzz/fuzzFile.h"
#include "fuzz/fuzzObject.h"

#include <algorithm>
#include <iterator>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const unsigned choices = data[size - 1];
    const FuzzFile file({data, size - 1});
    const std::string path = file.path();
    std::fill(std::begin(nb_Hrit_STF), std::end(nb_Hrit_STF), '\0');
    if ((choices & 128U) != 0) path.copy(nb_Hrit_STF, sizeof nb_Hrit_STF - 1);
    nb_hrit_get_alldata = (choices & 192U) == 192U ? 1 : 0;
    fuzzObject(path, "?type=hrit", choices);
    return 0;
}
