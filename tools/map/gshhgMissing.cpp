#include "tools/map/gshhg.h"

#include <stdexcept>

ShoreSource readGshhg(const std::string& path)
{
    throw std::runtime_error(path + ": netCDF files are not read, the program was built without "
                                    "the netCDF library");
}
