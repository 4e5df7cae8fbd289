#include "frontend/outputFile.h"

#include "frontend/recover.h"

int NbOutputFile::open(const std::string& path)
{
    path_ = path;
    return codeOf(file_.open(path));
}

int NbOutputFile::finish()
{
    return codeOf(file_.finish());
}

int NbOutputFile::fail(int code, const char* what)
{
    file_.giveUp();
    return tell(code, what);
}

int NbOutputFile::codeOf(NbFileFault fault) const
{
    switch (fault) {
    case NbFileFault::Open:
        return tell(NB_RUN_OUTPUT_OPEN, "cannot open the output file");
    case NbFileFault::Write:
        return tell(NB_RUN_SHORT_WRITE, "cannot write the output file");
    case NbFileFault::Close:
        return tell(NB_RUN_CLOSE, "cannot close the output file");
    case NbFileFault::Name:
        return tell(NB_RUN_OUTPUT_OPEN, "the output file cannot take its name");
    case NbFileFault::Replace:
        return tell(NB_RUN_OUTPUT_OPEN, "the output file cannot be replaced");
    case NbFileFault::None:
        break;
    }
    return NB_RUN_COMPLETE;
}

int NbOutputFile::tell(int code, const char* what) const
{
    complain("%s: %s%s", path_.c_str(), what, file_.why().c_str());
    return code;
}
